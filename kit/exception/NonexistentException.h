#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// The object of the operation is not there.
class NonexistentException : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "The object does not exist"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC700AU);
  }
};

}  // namespace qv::kit::exception
