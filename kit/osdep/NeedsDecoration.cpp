#include "kit/osdep/NeedsDecoration.h"

#include "kit/osdep/path.h"

namespace qv::kit::osdep {

bool NeedsDecoration(const WString& name) {
  return !name.empty() && path::BaseName(name).find(L'.') == WString::npos;
}

}  // namespace qv::kit::osdep
