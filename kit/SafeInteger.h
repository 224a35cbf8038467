#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/OutOfRange.h"

namespace qv::kit {

template <typename T>
class SafeInteger;

/// Size arithmetic that throws OutOfRange instead of wrapping. Holds an unsigned 32-bit value,
/// however wide an unsigned long is on the platform.
template <>
class SafeInteger<unsigned long> {
 public:
  /// Takes a value of any integer type. Throws OutOfRange when it is negative or needs more than
  /// 32 bits.
  template <typename Integer, typename = std::enable_if_t<std::is_integral_v<Integer>>>
  SafeInteger(Integer value)  // NOLINT(google-explicit-constructor): plain values are operands.
      : value_(static_cast<std::uint32_t>(value)) {
    if (!fits(value)) QV_THROW(exception::OutOfRange());
  }

  /// As a plain integer, which wraps.
  std::uint32_t value() const noexcept { return value_; }

  /// @{
  /// Throws OutOfRange when the result needs more than 32 bits.
  static SafeInteger Add(SafeInteger a, SafeInteger b) {
    if (b.value_ > ~a.value_) QV_THROW(exception::OutOfRange());
    return a.value_ + b.value_;
  }

  SafeInteger doubled() const {
    if ((value_ & 0x80000000U) != 0) QV_THROW(exception::OutOfRange());
    return value_ * 2;
  }

  friend SafeInteger operator*(SafeInteger a, SafeInteger factor) {
    const std::uint64_t product = std::uint64_t{a.value_} * factor.value_;
    if (product > std::numeric_limits<std::uint32_t>::max()) QV_THROW(exception::OutOfRange());
    return product;
  }
  /// @}

 private:
  template <typename Integer>
  static bool fits(Integer value) noexcept {
    if constexpr (std::is_signed_v<Integer>) {
      if (value < 0) return false;
    }
    return static_cast<std::uint64_t>(value) <= std::numeric_limits<std::uint32_t>::max();
  }

  std::uint32_t value_;
};

}  // namespace qv::kit
