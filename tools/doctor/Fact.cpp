#include "tools/doctor/Fact.h"

#include <algorithm>

namespace qv::doctor {
namespace {

template <typename Wanted>
Wanted& Become(Fact::Value& value) {
  if (!std::holds_alternative<Wanted>(value)) value = Wanted();
  return std::get<Wanted>(value);
}

template <typename Wanted>
const Wanted& Or(const Fact::Value& value) {
  static const Wanted nothing;
  const Wanted* wanted = std::get_if<Wanted>(&value);
  return wanted != nullptr ? *wanted : nothing;
}

}  // namespace

Fact Fact::names() {
  Fact fact;
  fact.value_ = Names();
  return fact;
}

Fact& Fact::operator[](const std::string& name) {
  Names& names = Become<Names>(value_);
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
  Become<List>(value_).push_back(std::move(item));
}

}  // namespace qv::doctor
