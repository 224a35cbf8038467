#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// The tag file in the directory that the trace engine names, as the library reads it, and the
/// lines that mean something else there than to a human.
Section ExamineTagFile(const std::string& directory, int timeLimit);

}  // namespace qv::tools::doctor
