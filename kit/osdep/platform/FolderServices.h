#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep::platform {

/// The folder in which all users of this machine share the data of applications; it is not created.
/// Empty when the system names none; an exception of the kit means the same to the caller.
WString FindPreferencesFolder();

}  // namespace qv::kit::osdep::platform
