#include "kit/exception/PosixError.h"

#include <cerrno>
#include <cstring>

namespace qv::kit::osdep {

// errno is read once, before building the message can change it.
PosixError::PosixError() : PosixError(errno) {}

PosixError::PosixError(int code) : PosixError(std::strerror(code), code) {}

PosixError::PosixError(const String& message, int code)
    : OSException(message, static_cast<std::uint32_t>(code)) {}

std::int32_t PosixError::getErrorCode() const noexcept {
  return StatusWith(ENOENT);
}

}  // namespace qv::kit::osdep
