// Where the file system hierarchy of POSIX systems keeps the state of services.
#include "kit/osdep/platform/FolderServices.h"

namespace qv::kit::osdep::platform {

WString FindPreferencesFolder() {
  return L"/var/lib";
}

}  // namespace qv::kit::osdep::platform
