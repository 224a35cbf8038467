#pragma once

#include <cstdint>

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// @{
/// value as text in a base from 2 to 36, with the digits 0 to 9 and A to Z, no prefix and no
/// padding. Any other base throws UnableToConvert.
WString UInt64ToString(std::uint64_t value, std::uint32_t base);
WString UInt32ToString(std::uint32_t value, std::uint32_t base);
WString UIntToString(std::uint32_t value, std::uint32_t base);
WString UInt16ToString(std::uint16_t value, std::uint32_t base);
WString UInt8ToString(std::uint8_t value, std::uint32_t base);
/// @}

/// @{
/// The same; a negative value has a sign in base 10 only. In every other base it is written as the
/// bit pattern of its own width, taken as unsigned.
WString Int64ToString(std::int64_t value, std::uint32_t base);
WString Int32ToString(std::int32_t value, std::uint32_t base);
WString IntToString(std::int32_t value, std::uint32_t base);
WString Int16ToString(std::int16_t value, std::uint32_t base);
WString Int8ToString(std::int8_t value, std::uint32_t base);
/// @}

}  // namespace qv::kit::osdep
