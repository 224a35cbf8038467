#pragma once

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// Adds where the trace engine that comes with the library writes to, and which of the variables
/// that it reads will have no say. Nothing is opened or made.
void JudgeEngineVariables(Section& section);

}  // namespace qv::tools::doctor
