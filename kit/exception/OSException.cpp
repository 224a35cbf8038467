#include "kit/exception/OSException.h"

namespace qv::kit::osdep {

OSException::OSException() : OSException("Unknown error", 0) {}

OSException::OSException(const String& message, std::uint32_t code)
    : message_(message), code_(code) {}

std::int32_t OSException::StatusWith(std::uint32_t fileNotFound) const noexcept {
  if (code_ == 0) return 0;
  return code_ == fileNotFound ? kFileNotFound : kGenericFailure;
}

}  // namespace qv::kit::osdep
