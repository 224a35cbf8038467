#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// A number cannot be written in the base asked for.
class UnableToConvert : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Unable to convert."; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7034U);
  }
};

}  // namespace qv::kit::exception
