#pragma once

#include "kit/StringBase.h"
#include "kit/exception/OutOfRange.h"

namespace qv::kit::exception {

/// OutOfRange that says in its message what was out of range.
class OutOfRange2 : public OutOfRange {
 public:
  /// detail goes into the message. Throws std::bad_alloc.
  explicit OutOfRange2(const String& detail);

  /// The message, which has the detail.
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  String message_;
};

}  // namespace qv::kit::exception
