#pragma once

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// Whether a server that is started in the current directory prints release assertions.
Section ExamineAssertions();

}  // namespace qv::tools::doctor
