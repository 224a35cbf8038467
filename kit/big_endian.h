#pragma once

#include <algorithm>

#include "kit/SafeInteger.h"

namespace qv::kit::big_endian {

/// Copies n bytes in reversed order, which makes the big-endian form of a little-endian value. The
/// ranges must not overlap. Throws OutOfRange when n needs more than 32 bits.
inline void CopyToBigEndian(unsigned long n, unsigned char* destination,
                            const unsigned char* source) {
  std::reverse_copy(source, source + SafeInteger<unsigned long>(n).value(), destination);
}

/// As CopyToBigEndian, in the other direction: reversing is its own inverse.
inline void CopyFromBigEndian(unsigned long n, unsigned char* destination,
                              const unsigned char* source) {
  CopyToBigEndian(n, destination, source);
}

}  // namespace qv::kit::big_endian
