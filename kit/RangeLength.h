#pragma once

#include <cstdint>

#include "kit/NumericCast.h"

namespace qv::kit {

/// Number of characters from begin to end. Throws OutOfRange when end lies before begin or the
/// number does not fit in 32 bits.
template <typename CharT>
std::uint32_t RangeLength(const CharT* begin, const CharT* end) {
  return _SignedToUnsigned<unsigned long, long>()(end - begin);
}

}  // namespace qv::kit
