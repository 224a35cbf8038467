#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// A file is in the way and was not to be overwritten.
class FileAlreadyExists : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "File already exists"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC701BU);
  }
};

}  // namespace qv::kit::exception
