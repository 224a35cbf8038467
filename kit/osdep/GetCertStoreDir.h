#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// The directory of the certificate store: "certstore" in GetCommonAppDataDirectory(). Nothing is
/// created.
WString GetCertStoreDir();

}  // namespace qv::kit::osdep
