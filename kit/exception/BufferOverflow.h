#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// An output has no room for what is to be written.
class BufferOverflow : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Buffer overflowed"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7017U);
  }
};

}  // namespace qv::kit::exception
