#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// An index lies outside its container, or size arithmetic would have wrapped.
class OutOfRange : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Out of range"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7007U);
  }
};

}  // namespace qv::kit::exception
