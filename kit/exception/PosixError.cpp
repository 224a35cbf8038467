#include "kit/exception/PosixError.h"

#include <cerrno>
#include <cstring>

namespace qv::kit::osdep {

namespace {

// C libraries differ in what strerror_r() gives: a result, with the text in the buffer, or the text
// itself, which may lie elsewhere.
[[maybe_unused]] const char* ErrorText(int /*result*/, const char* buffer) {
  return buffer;
}
[[maybe_unused]] const char* ErrorText(const char* text, const char* /*buffer*/) {
  return text;
}

// Not strerror(), whose text another thread may be writing.
String TextOf(int code) {
  char buffer[256] = {};
  return ErrorText(strerror_r(code, buffer, sizeof(buffer)), buffer);
}

}  // namespace

// errno is read once, before building the message can change it.
PosixError::PosixError() : PosixError(errno) {}

PosixError::PosixError(int code) : PosixError(TextOf(code), code) {}

PosixError::PosixError(const String& message, int code)
    : OSException(message, static_cast<std::uint32_t>(code)) {}

std::int32_t PosixError::getErrorCode() const noexcept {
  return StatusWith(ENOENT);
}

}  // namespace qv::kit::osdep
