#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// Path of the running executable; where programs come in bundles, that of its bundle. Empty when
/// it lies where no path leads. Throws PosixError or CarbonError when the system cannot tell.
WString GetExePath();

/// The directory of GetExePath(), or the current one without such a path: absolute and ending in a
/// slash. Throws as GetExePath() does.
WString GetExeDirectory();

}  // namespace qv::kit::osdep
