#include "kit/osdep/platform/LentRights.h"

// Declared by unistd.h there, and nowhere else.
extern "C" int issetugid(void);

namespace qv::kit::osdep::platform {

bool HasLentRights() noexcept {
  return ::issetugid() != 0;
}

}  // namespace qv::kit::osdep::platform
