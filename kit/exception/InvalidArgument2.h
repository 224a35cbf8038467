#pragma once

#include "kit/StringBase.h"
#include "kit/exception/InvalidArgument.h"

namespace qv::kit::exception {

/// InvalidArgument that says in its message what is wrong with the argument.
class InvalidArgument2 : public InvalidArgument {
 public:
  /// detail goes into the message. Throws std::bad_alloc.
  explicit InvalidArgument2(const String& detail);

  /// The message, which has the detail.
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  String message_;
};

}  // namespace qv::kit::exception
