#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// The directory in which the data shared by all users lies; nothing is created. That is the value
/// of the environment variable "QVPUBAPPDATADIR", as it is, when it is an absolute path that may be
/// trusted (see TrustedVariable.h), otherwise "kestrix" in the system's folder for such data.
WString GetCommonAppDataDirectory();

}  // namespace qv::kit::osdep
