#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// The object is in no state to allow the operation.
class InvalidOperation : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Invalid operation"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC700EU);
  }
};

}  // namespace qv::kit::exception
