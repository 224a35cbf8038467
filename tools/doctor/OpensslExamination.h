#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// The two OpenSSL files in directory, which ends in a slash, and what the library would get of
/// them.
Section ExamineOpenssl(const std::string& directory, int timeLimit);

}  // namespace qv::tools::doctor
