#pragma once

#include "kit/exception/Exception.h"

namespace qv::kit::exception {

/// Something else bears the name of the object to be made.
class ObjectAlreadyExists : public Exception {
 public:
  /// A fixed text.
  const char* what() const noexcept override { return "Object already exists"; }
  std::int32_t getErrorCode() const noexcept override {
    return static_cast<std::int32_t>(0x8ABC7009U);
  }
};

}  // namespace qv::kit::exception
