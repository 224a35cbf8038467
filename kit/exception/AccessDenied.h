#pragma once

#include "kit/StringBase.h"
#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// The system refuses what was asked for at a path, which the message names.
class AccessDenied : public Exception {
 public:
  /// Text that the locale cannot express is "?" in the message. May throw what the conversion does.
  explicit AccessDenied(const WString& path);

  /// The message, which names the path.
  const char* what() const noexcept override { return message_.c_str(); }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7019U);
  }

 private:
  String message_;
};

}  // namespace qv::kit::exception
