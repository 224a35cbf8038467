#pragma once

#include <cstdint>

#include "kit/FixedPoint128.h"

namespace nQVSS100 {

/// Which way a conversion of units goes.
enum tUnitConversion : std::int32_t { kUnitToSeconds = 1, kSecondsToUnit = 2 };

/// Units of time. The values are stored in files and passed between modules; they follow no order.
enum tTimeUnit : std::int32_t {
  kAttoseconds = 919263159,
  kFemtoseconds = 919263162,
  kPicoseconds = 919263165,
  kNanoseconds = 919263168,
  kTicksOf100Nanoseconds = 919263170,
  kMicroseconds = 919263171,
  kMilliseconds = 919263174,
  kSeconds = 919263177,
  kMinutes = 919263179,
  kHours = 919263181,
  kDays = 919263183,
};

/// @{
/// Status codes of time conversions. 0 and above are success.
constexpr std::int32_t kUnknownUnitOrEpoch = -50003;
constexpr std::int32_t kTimeOverflow = -50175;
/// @}

/// Puts error into status unless it holds a negative code already: the first error wins. Only the
/// low 32 bits of a status count, where long has more.
void KeepFirstError(long* status, std::int32_t error) noexcept;

/// A span of time, in seconds.
class tSSTimeValue {
 public:
  /// Seconds, in units of 2^-64.
  using Seconds = tFixedPoint128<64, true>;

  /// No time: 0 seconds.
  tSSTimeValue() noexcept = default;
  /// A negative span is one backwards.
  explicit tSSTimeValue(const Seconds& seconds) noexcept : seconds_(seconds) {}

  /// @{
  /// The span itself, to be read or changed.
  Seconds& seconds() noexcept { return seconds_; }
  const Seconds& seconds() const noexcept { return seconds_; }
  /// @}

  /// Converts value from unit into seconds; for any direction but kUnitToSeconds, from seconds into
  /// unit. Quotients are cut towards zero. Sets kUnknownUnitOrEpoch, and leaves value, for a unit
  /// that is none of tTimeUnit; sets kTimeOverflow when a multiplication changed the sign of value,
  /// which then holds what is left of the product. An earlier error does not keep the conversion
  /// from being done.
  static void _CorrectUnits(tUnitConversion direction, tTimeUnit unit, Seconds& value,
                            long* status) noexcept;

 private:
  Seconds seconds_;
};

}  // namespace nQVSS100
