#pragma once

#include <cstdint>

#include "kit/SafeInteger.h"

namespace qv::kit {

/// Size in bytes of a number of characters. Throws OutOfRange when it does not fit in 32 bits.
template <typename CharT>
std::uint32_t CharactersToBytes(SafeInteger<unsigned long> characters) {
  return (characters * sizeof(CharT)).value();
}

}  // namespace qv::kit
