#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep::platform {

/// Path of the running executable, or of the bundle that it comes from; empty when that lies where
/// no path leads. Throws the system's error, PosixError or CarbonError, when the system cannot
/// tell.
WString FindRunningExecutable();

}  // namespace qv::kit::osdep::platform
