#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// A file took fewer bytes than it was given.
class FileWriteFailed : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Write file operation failed"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7011U);
  }
};

}  // namespace qv::kit::exception
