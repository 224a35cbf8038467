#include "tools/doctor/Json.h"

#include <nlohmann/json.hpp>

namespace qv::doctor {
namespace {

using nlohmann::ordered_json;

constexpr int kDeepest = 2;

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
  Fact fact;
  switch (json.type()) {
    case ordered_json::value_t::boolean:
      return json.get<bool>();
    case ordered_json::value_t::number_integer:
    case ordered_json::value_t::number_unsigned:
      return json.get<std::int64_t>();
    case ordered_json::value_t::number_float:
      return json.get<double>();
    case ordered_json::value_t::string:
      return json.get<std::string>();
    case ordered_json::value_t::array:
      fact = Fact::list();
      for (const ordered_json& item : json)
        fact.add(Read(item));
      return fact;
    case ordered_json::value_t::object:
      fact = Fact::names();
      for (const auto& [name, value] : json.items())
        fact[name] = Read(value);
      return fact;
    default:
      return fact;
  }
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
  return json.is_object() ? std::optional(Read(json)) : std::nullopt;
}

}  // namespace qv::doctor
