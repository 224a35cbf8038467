#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// The narrow text that names path to the operating system. Throws InvalidArgument when path holds
/// a null character: the system would take it for the end and reach another file.
String ToSystemPath(const WString& path);

/// Throws InvalidArgument unless path is absolute and free of null characters.
void RequireAbsolute(const WString& path);

}  // namespace qv::kit::osdep
