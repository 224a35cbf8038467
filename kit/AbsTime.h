#pragma once

#include <cstdint>

namespace qv::kit {

/// A point in time: seconds since 1904-01-01 00:00:00 UTC as a signed 128-bit fixed-point number
/// with 64 fraction bits, held as four 32-bit words, the least significant first. It crosses
/// library boundaries as these 16 bytes.
class AbsTime {
 public:
  /// No time at all: lies before every time there is.
  constexpr AbsTime() noexcept : AbsTime(INT64_MIN, 0) {}
  /// seconds may be negative; fraction counts upwards from them, in units of 2^-64 seconds.
  constexpr AbsTime(std::int64_t seconds, std::uint64_t fraction) noexcept
      : words_{static_cast<std::uint32_t>(fraction), static_cast<std::uint32_t>(fraction >> 32U),
               static_cast<std::uint32_t>(static_cast<std::uint64_t>(seconds)),
               static_cast<std::uint32_t>(static_cast<std::uint64_t>(seconds) >> 32U)} {}

  /// Whole seconds since 1904, rounded down.
  constexpr std::int64_t seconds() const noexcept {
    return static_cast<std::int64_t>(join(words_[3], words_[2]));
  }
  /// What lies beyond the whole seconds, in units of 2^-64 seconds.
  constexpr std::uint64_t fraction() const noexcept { return join(words_[1], words_[0]); }

  /// @{
  /// Earlier is less.
  friend constexpr bool operator==(const AbsTime& a, const AbsTime& b) noexcept {
    return a.seconds() == b.seconds() && a.fraction() == b.fraction();
  }
  friend constexpr bool operator!=(const AbsTime& a, const AbsTime& b) noexcept {
    return !(a == b);
  }
  friend constexpr bool operator<(const AbsTime& a, const AbsTime& b) noexcept {
    return a.seconds() != b.seconds() ? a.seconds() < b.seconds() : a.fraction() < b.fraction();
  }
  /// @}

 private:
  static constexpr std::uint64_t join(std::uint32_t high, std::uint32_t low) noexcept {
    return static_cast<std::uint64_t>(high) << 32U | low;
  }

  std::uint32_t words_[4];
};

}  // namespace qv::kit
