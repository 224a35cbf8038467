#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// The two OpenSSL files in directory, which ends in a slash, and what the library would get of
/// them. Unless it is known to be the directory of the library, they need not be there.
Section ExamineOpenssl(const std::string& directory, bool isOfLibrary, int timeLimit);

}  // namespace qv::tools::doctor
