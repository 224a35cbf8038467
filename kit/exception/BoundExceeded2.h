#pragma once

#include "kit/StringBase.h"
#include "kit/exception/BoundExceeded.h"

namespace qv::kit::exception {

/// BoundExceeded that says in its message which bound.
class BoundExceeded2 : public BoundExceeded {
 public:
  /// detail goes into the message. Throws std::bad_alloc.
  explicit BoundExceeded2(const String& detail);

  /// The message, which has the detail.
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  String message_;
};

}  // namespace qv::kit::exception
