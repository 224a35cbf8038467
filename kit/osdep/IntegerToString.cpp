#include "kit/osdep/IntegerToString.h"

#include <iterator>
#include <limits>
#include <type_traits>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/UnableToConvert.h"

namespace qv::kit::osdep {
namespace {

constexpr wchar_t kDigits[] = L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

/// Writes the digits of value in front of end, and returns the first.
template <typename UnsignedT, typename BaseT>
wchar_t* WriteDigits(UnsignedT value, BaseT base, wchar_t* end) {
  do {
    *--end = kDigits[value % base];
    value = static_cast<UnsignedT>(value / base);
  } while (value != 0);
  return end;
}

template <std::uint32_t base>
using Base = std::integral_constant<std::uint32_t, base>;

/// With a sign in front of the digits if it is to have one.
template <typename UnsignedT>
WString ToString(UnsignedT value, std::uint32_t base, bool hasSign) {
  if (base < 2 || base > 36) QV_THROW(exception::UnableToConvert());
  // The sign, and one digit a bit: what base 2 needs.
  wchar_t buffer[1 + std::numeric_limits<UnsignedT>::digits];
  wchar_t* const end = std::end(buffer);
  // The usual bases are told to the compiler, which divides by a constant in a tenth of the time.
  wchar_t* begin = base == 10   ? WriteDigits(value, Base<10>(), end)
                   : base == 16 ? WriteDigits(value, Base<16>(), end)
                                : WriteDigits(value, base, end);
  if (hasSign) *--begin = L'-';
  return WString(begin, end);
}

template <typename UnsignedT>
WString UnsignedToString(UnsignedT value, std::uint32_t base) {
  return ToString(value, base, false);
}

template <typename SignedT>
WString SignedToString(SignedT value, std::uint32_t base) {
  using UnsignedT = std::make_unsigned_t<SignedT>;
  const auto bits = static_cast<UnsignedT>(value);
  const bool hasSign = value < 0 && base == 10;
  // Negated as unsigned: the smallest value has no positive counterpart.
  return ToString(hasSign ? static_cast<UnsignedT>(UnsignedT{0} - bits) : bits, base, hasSign);
}

}  // namespace

WString UInt64ToString(std::uint64_t value, std::uint32_t base) {
  return UnsignedToString(value, base);
}

WString UInt32ToString(std::uint32_t value, std::uint32_t base) {
  return UnsignedToString(value, base);
}

WString UIntToString(std::uint32_t value, std::uint32_t base) {
  return UInt32ToString(value, base);
}

WString UInt16ToString(std::uint16_t value, std::uint32_t base) {
  return UnsignedToString(value, base);
}

WString UInt8ToString(std::uint8_t value, std::uint32_t base) {
  return UnsignedToString(value, base);
}

WString Int64ToString(std::int64_t value, std::uint32_t base) {
  return SignedToString(value, base);
}

WString Int32ToString(std::int32_t value, std::uint32_t base) {
  return SignedToString(value, base);
}

WString IntToString(std::int32_t value, std::uint32_t base) {
  return Int32ToString(value, base);
}

WString Int16ToString(std::int16_t value, std::uint32_t base) {
  return SignedToString(value, base);
}

WString Int8ToString(std::int8_t value, std::uint32_t base) {
  return SignedToString(value, base);
}

}  // namespace qv::kit::osdep
