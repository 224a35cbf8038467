#pragma once

#include <optional>
#include <string>

#include "tools/common/Fact.h"

namespace qv::tools::doctor {

/// In one line, or indented by two characters a level. Bytes that are no UTF-8 become U+FFFD.
std::string ToJsonLine(const Fact& fact);
std::string ToJsonPage(const Fact& fact);

/// The named facts that text holds, truth values and texts; nothing when it holds something else.
/// Whatever no message of ours holds counts as null, and is not even read where it lies deeper:
/// others could go down until the stack ends.
std::optional<Fact> FromJson(const std::string& text);

}  // namespace qv::tools::doctor
