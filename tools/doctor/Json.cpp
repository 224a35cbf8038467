#include "tools/doctor/Json.h"

#include <nlohmann/json.hpp>

namespace qv::tools::doctor {
namespace {

using nlohmann::ordered_json;

constexpr int kDeepest = 1;

struct Writer {
  template <typename Plain>
  ordered_json operator()(const Plain& value) const {
    return value;
  }
  ordered_json operator()(const Fact::List& list) const {
    ordered_json json = ordered_json::array();
    for (const Fact& item : list)
      json.push_back(std::visit(*this, item.value()));
    return json;
  }
  ordered_json operator()(const Fact::Names& names) const {
    ordered_json json = ordered_json::object();
    for (const auto& [name, fact] : names)
      json[name] = std::visit(*this, fact.value());
    return json;
  }
};

std::string Dump(const Fact& fact, int indent) {
  return std::visit(Writer{}, fact.value())
      .dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

Fact Read(const ordered_json& json) {
  if (json.is_boolean()) return json.get<bool>();
  if (json.is_string()) return json.get<std::string>();
  return nullptr;
}

bool IsShallow(int depth, ordered_json::parse_event_t /*event*/, ordered_json& /*value*/) {
  return depth <= kDeepest;
}

}  // namespace

std::string ToJsonLine(const Fact& fact) {
  return Dump(fact, -1);
}

std::string ToJsonPage(const Fact& fact) {
  return Dump(fact, 2);
}

std::optional<Fact> FromJson(const std::string& text) {
  const ordered_json json = ordered_json::parse(text, IsShallow, false);
  if (!json.is_object()) return std::nullopt;
  Fact facts = Fact::names();
  for (const auto& [name, value] : json.items())
    facts[name] = Read(value);
  return facts;
}

}  // namespace qv::tools::doctor
