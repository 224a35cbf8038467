#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// Notes where a process must have called setlocale to read path, whatever its environment says,
/// with what comes of it otherwise: "and ...".
void JudgeLocaleNeed(const std::string& path, const char* result, Section& section);

}  // namespace qv::tools::doctor
