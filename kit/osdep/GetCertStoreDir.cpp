#include "kit/osdep/GetCertStoreDir.h"

#include "kit/osdep/GetCommonAppDataDirectory.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep {

WString GetCertStoreDir() {
  return path::Join(GetCommonAppDataDirectory(), L"certstore");
}

}  // namespace qv::kit::osdep
