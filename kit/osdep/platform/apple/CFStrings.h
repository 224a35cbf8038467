#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "kit/StringBase.h"

namespace qv::kit::osdep {

// Text on its way between Core Foundation and this library. No argument may be null.

/// The characters of string, up to the first that is none (half of a surrogate pair).
WString CFStringToString(CFStringRef string);

/// The caller releases the result, which is null when string holds a value that is no character.
CFStringRef StringToCFString(const WString& string) CF_RETURNS_RETAINED;

/// The path that url stands for, written in the given style; empty when it stands for none.
WString CFURLToFilePath(CFURLRef url, CFURLPathStyle pathStyle);

}  // namespace qv::kit::osdep
