#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// An argument is outside what the operation accepts.
class InvalidArgument : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Invalid argument(s)"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC700FU);
  }
};

}  // namespace qv::kit::exception
