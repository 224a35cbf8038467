#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// Serialized bytes end early or contradict themselves.
class DeserializationError : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Failed to deserialize"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7014U);
  }
};

}  // namespace qv::kit::exception
