#pragma once

#include <cstdint>

#include "kit/StringBase.h"
#include "kit/exception/Exception.h"

namespace qv::kit::osdep {

/// The operating system refused something. Carries the system's own code and a text for it.
///
/// The one virtual operation that the base does not have, whatcode(), comes last: modules built
/// apart rely on the order.
class OSException : public exception::Exception {
 public:
  /// Of an unknown error, code 0.
  OSException();
  /// code is the system's own.
  OSException(const String& message, std::uint32_t code);

  /// The text that it was made with.
  const char* what() const noexcept override { return message_.c_str(); }
  /// A status for the failure, not the code of the system.
  std::int32_t getErrorCode() const noexcept override { return kGenericFailure; }
  /// The code of the operating system.
  virtual std::uint32_t whatcode() const noexcept { return code_; }

 protected:
  /// 0 when the code is 0, 7 when it is the one that the system has for a file that is not found,
  /// else 42.
  std::int32_t StatusWith(std::uint32_t fileNotFound) const noexcept;

 private:
  static constexpr std::int32_t kFileNotFound = 7;
  static constexpr std::int32_t kGenericFailure = 42;

  String message_;
  std::uint32_t code_;
};

}  // namespace qv::kit::osdep
