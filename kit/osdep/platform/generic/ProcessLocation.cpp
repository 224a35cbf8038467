// The proc file system links every process to its executable.
#include "kit/osdep/platform/ProcessLocation.h"

#include "kit/osdep/path.h"

namespace qv::kit::osdep::platform {

WString FindRunningExecutable() {
  return path::ResolveSymLink(L"/proc/self/exe");
}

}  // namespace qv::kit::osdep::platform
