#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// A file could not be read.
class FileReadFailed : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Read file operation failed"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7012U);
  }
};

}  // namespace qv::kit::exception
