#include "kit/osdep/SystemPath.h"

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/InvalidArgument.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep {

String ToSystemPath(const WString& path) {
  if (path.hasEmbeddedNull()) QV_THROW(exception::InvalidArgument());
  return String(path.c_str());
}

void RequireAbsolute(const WString& path) {
  if (!path::IsAbs(path) || path.hasEmbeddedNull()) QV_THROW(exception::InvalidArgument());
}

}  // namespace qv::kit::osdep
