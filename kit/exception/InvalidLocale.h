#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// No such text encoding is known.
class InvalidLocale : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Invalid locale"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7024U);
  }
};

}  // namespace qv::kit::exception
