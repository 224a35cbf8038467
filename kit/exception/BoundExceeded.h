#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// A result would be larger than its type can hold. Shares its code with OutOfRange: statuses do
/// not tell the two apart.
class BoundExceeded : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override {
    return "A request was made that would exceed the bounds";
  }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7007U);
  }
};

}  // namespace qv::kit::exception
