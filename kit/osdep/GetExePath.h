#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// Path of the running executable; where programs come in bundles, that of its bundle. Throws
/// PosixError or CarbonError when the system cannot tell.
WString GetExePath();

/// The directory of GetExePath(): absolute and ending in a slash. Throws as GetExePath() does.
WString GetExeDirectory();

}  // namespace qv::kit::osdep
