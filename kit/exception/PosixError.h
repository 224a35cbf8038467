#pragma once

#include "kit/exception/OSException.h"

namespace qv::kit::osdep {

/// A POSIX call failed; the code is its errno.
class PosixError : public OSException {
 public:
  /// Takes code and text from errno, which must not have been touched since the call.
  PosixError();
  /// For a failure whose text comes from elsewhere.
  PosixError(const String& message, int code);

  /// 0 when there was no error, 7 when there is no such file or directory, else 42.
  std::int32_t getErrorCode() const noexcept override;

 private:
  explicit PosixError(int code);
};

}  // namespace qv::kit::osdep
