#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// Calls Init and Uninit of the library, in a process of their own, with every trace tag on, and
/// shows the trace. store is what was found in the certificate store before.
///
/// after is set to what is found there now, where that is something else.
Section TryLibrary(const std::string& library, const Section& store, int timeLimit, Section& after);

}  // namespace qv::tools::doctor
