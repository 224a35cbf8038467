#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// The certificate store where the library has it, and every file in it.
Section ExamineStore();

}  // namespace qv::tools::doctor
