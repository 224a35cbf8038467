#pragma once

#include "kit/StringBase.h"
#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// The system refuses what was asked for at a path, which the message names.
class AccessDenied : public Exception {
 public:
  explicit AccessDenied(const WString& path);

  const char* what() const noexcept override { return message_.c_str(); }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7019U);
  }

 private:
  String message_;
};

}  // namespace qv::kit::exception
