// A library remembers which other library each of its names comes from: nobody gets in between.
#include "kit/osdep/platform/OwnScope.h"

namespace qv::kit::osdep::platform {

bool HasOwnScopes() {
  return false;
}

void* OpenInOwnScope(const char* /*path*/) {
  return nullptr;
}

}  // namespace qv::kit::osdep::platform
