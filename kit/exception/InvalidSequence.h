#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// Bytes are not UTF-8.
class InvalidSequence : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Invalid UTF8 encoding sequence"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7030U);
  }
};

}  // namespace qv::kit::exception
