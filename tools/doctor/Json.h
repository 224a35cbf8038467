#pragma once

#include <optional>
#include <string>

#include "tools/doctor/Fact.h"

namespace qv::doctor {

/// In one line, or indented by two characters a level. Bytes that are no UTF-8 become U+FFFD.
std::string ToJsonLine(const Fact& fact);
std::string ToJsonPage(const Fact& fact);

/// The named facts that text holds; nothing when it holds something else. What lies deeper than any
/// message of ours goes is left out: others could go down until the stack ends.
std::optional<Fact> FromJson(const std::string& text);

}  // namespace qv::doctor
