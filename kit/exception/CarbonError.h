#pragma once

#include "kit/exception/OSException.h"

namespace qv::kit::osdep {

/// A Carbon or Core Foundation call failed. Its 16-bit code is kept with its sign extended, so that
/// whatcode() compares equal to the negative number that the system documents.
class CarbonError : public OSException {
 public:
  /// Without a text for the code.
  explicit CarbonError(short code);
  /// For a failure whose text comes from elsewhere.
  CarbonError(const String& message, short code);

  /// 0 when there was no error, 7 when the file is not found (-43), else 42.
  std::int32_t getErrorCode() const noexcept override;
};

}  // namespace qv::kit::osdep
