// The kernel says at the start of a program whose rights it has: a server that takes another user's
// later on was given its environment by somebody who may do that.
#include "kit/osdep/platform/LentRights.h"

#include <sys/auxv.h>

namespace qv::kit::osdep::platform {

bool HasLentRights() noexcept {
  return ::getauxval(AT_EUID) != ::getauxval(AT_UID) || ::getauxval(AT_EGID) != ::getauxval(AT_GID);
}

}  // namespace qv::kit::osdep::platform
