#include "kit/osdep/GetExePath.h"

#include "kit/osdep/DirectoryOf.h"
#include "kit/osdep/platform/ProcessLocation.h"

namespace qv::kit::osdep {

WString GetExePath() {
  return platform::FindRunningExecutable();
}

WString GetExeDirectory() {
  return DirectoryOf(GetExePath());
}

}  // namespace qv::kit::osdep
