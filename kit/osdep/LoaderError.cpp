#include "kit/osdep/LoaderError.h"

#include <dlfcn.h>

namespace qv::kit::osdep {

PosixError LoaderError() {
  const char* text = ::dlerror();
  return PosixError(text == nullptr ? "Unknown error" : text, 0);
}

}  // namespace qv::kit::osdep
