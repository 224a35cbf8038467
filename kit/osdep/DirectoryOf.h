#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// The directory of file: absolute, seen from the current directory, and ending in a slash.
WString DirectoryOf(const WString& file);

}  // namespace qv::kit::osdep
