#pragma once

#include <cstdint>

#include "kit/AddFileAndLineInfo.h"
#include "kit/SafeInteger.h"
#include "kit/exception/OutOfRange.h"

namespace qv::kit {

/// The conversion that a specialisation makes.
template <typename Signed, typename Unsigned>
struct _UnsignedToSigned;

/// A count as a signed 32-bit value. Throws OutOfRange from 0x80000000 on.
template <>
struct _UnsignedToSigned<int, unsigned long> {
  /// value as an int.
  int operator()(unsigned long value) const {
    if (value >= 0x80000000UL) QV_THROW(exception::OutOfRange());
    return static_cast<int>(value);
  }
};

/// The conversion that a specialisation makes.
template <typename Unsigned, typename Signed>
struct _SignedToUnsigned;

/// A signed difference as a count of 32 bits. Throws OutOfRange when it is negative or does not
/// fit.
template <>
struct _SignedToUnsigned<unsigned long, long> {
  /// value without a sign.
  std::uint32_t operator()(long value) const {
    if (value < 0) QV_THROW(exception::OutOfRange());
    return SafeInteger<unsigned long>(value).value();
  }
};

/// A long that callers hold, as the 32-bit value that it is on the wire and in counters. Throws
/// OutOfRange when it does not fit.
inline std::int32_t LongToInt32(long value) {
  const auto narrow = static_cast<std::int32_t>(value);
  if (narrow != value) QV_THROW(exception::OutOfRange());
  return narrow;
}

}  // namespace qv::kit
