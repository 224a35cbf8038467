#include "kit/osdep/TrustedVariable.h"

#include <cstdlib>

#include "kit/osdep/platform/LentRights.h"

namespace qv::kit::osdep {

// The C library's secure_getenv would also refuse servers that got the right to a low port from
// their file, which are set up through their environment as any other.
const char* TrustedVariable(const char* name) noexcept {
  return platform::HasLentRights() ? nullptr : std::getenv(name);
}

}  // namespace qv::kit::osdep
