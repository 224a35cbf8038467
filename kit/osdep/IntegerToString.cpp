#include "kit/osdep/IntegerToString.h"

#include <limits>
#include <type_traits>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/UnableToConvert.h"

namespace qv::kit::osdep {
namespace {

constexpr wchar_t kDigits[] = L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

template <typename UnsignedT>
WString UnsignedToString(UnsignedT value, std::uint32_t base) {
  if (base < 2 || base > 36) QV_THROW(exception::UnableToConvert());
  // One digit a bit and the terminator: what base 2 needs.
  wchar_t buffer[std::numeric_limits<UnsignedT>::digits + 1] = {};
  wchar_t* digit = buffer + std::numeric_limits<UnsignedT>::digits;
  std::uint64_t rest = value;
  do {
    *--digit = kDigits[rest % base];
    rest /= base;
  } while (rest != 0);
  return digit;
}

template <typename SignedT>
WString SignedToString(SignedT value, std::uint32_t base) {
  using UnsignedT = std::make_unsigned_t<SignedT>;
  const auto bits = static_cast<UnsignedT>(value);
  if (value < 0 && base == 10) {
    // Negated as unsigned: the smallest value has no positive counterpart.
    return L"-" + UnsignedToString(static_cast<UnsignedT>(UnsignedT{0} - bits), base);
  }
  return UnsignedToString(bits, base);
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
