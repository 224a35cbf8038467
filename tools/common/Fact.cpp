#include "tools/common/Fact.h"

#include <algorithm>

namespace qv::tools {
namespace {

template <typename Wanted>
const Wanted& Or(const Fact::Value& value) {
  static const Wanted nothing;
  const Wanted* wanted = std::get_if<Wanted>(&value);
  return wanted != nullptr ? *wanted : nothing;
}

}  // namespace

Fact::Fact() noexcept = default;
Fact::Fact(const Fact& other) = default;
Fact::Fact(Fact&& other) noexcept = default;
Fact& Fact::operator=(const Fact& other) = default;
Fact& Fact::operator=(Fact&& other) noexcept = default;
Fact::~Fact() = default;

Fact::Fact(std::nullptr_t) noexcept {}
Fact::Fact(bool value) noexcept : value_(value) {}
Fact::Fact(Number number) noexcept : value_(number.value) {}
Fact::Fact(const char* text) : value_(std::string(text)) {}
Fact::Fact(std::string text) noexcept : value_(std::move(text)) {}
Fact::Fact(List list) noexcept : value_(std::move(list)) {}
Fact::Fact(std::initializer_list<Names::value_type> names) : value_(Names(names)) {}

Fact Fact::list() {
  return List();
}

Fact Fact::names() {
  Fact fact;
  fact.value_ = Names();
  return fact;
}

bool operator==(const Fact& a, const Fact& b) {
  return a.value_ == b.value_;
}

Fact& Fact::operator[](const std::string& name) {
  Names& names = std::get<Names>(value_);
  const auto found = std::find_if(names.begin(), names.end(),
                                  [&](const auto& entry) { return entry.first == name; });
  if (found != names.end()) return found->second;
  return names.emplace_back(name, Fact()).second;
}

const Fact* Fact::find(const std::string& name) const {
  const Names& names = Or<Names>(value_);
  const auto found = std::find_if(names.begin(), names.end(),
                                  [&](const auto& entry) { return entry.first == name; });
  return found != names.end() ? &found->second : nullptr;
}

const std::string& Fact::text() const {
  return Or<std::string>(value_);
}

const Fact::List& Fact::items() const {
  return Or<List>(value_);
}

void Fact::add(Fact item) {
  std::get<List>(value_).push_back(std::move(item));
}

}  // namespace qv::tools
