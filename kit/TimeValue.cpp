#include "kit/TimeValue.h"

namespace nQVSS100 {
namespace {

struct UnitFactor {
  /// Units to a second, or seconds to a unit.
  std::uint64_t factor;
  tTimeUnit unit;
  bool shorterThanASecond;
};

constexpr UnitFactor kFactors[] = {
    {1'000'000'000'000'000'000, kAttoseconds, true},
    {1'000'000'000'000'000, kFemtoseconds, true},
    {1'000'000'000'000, kPicoseconds, true},
    {1'000'000'000, kNanoseconds, true},
    {10'000'000, kTicksOf100Nanoseconds, true},
    {1'000'000, kMicroseconds, true},
    {1'000, kMilliseconds, true},
    {60, kMinutes, false},
    {3'600, kHours, false},
    {86'400, kDays, false},
};

const UnitFactor* FindFactor(tTimeUnit unit) noexcept {
  for (const UnitFactor& entry : kFactors) {
    if (entry.unit == unit) return &entry;
  }
  return nullptr;
}

}  // namespace

void KeepFirstError(long* status, std::int32_t error) noexcept {
  if (static_cast<std::int32_t>(*status) >= 0) *status = error;
}

void tSSTimeValue::_CorrectUnits(tUnitConversion direction, tTimeUnit unit, Seconds& value,
                                 long* status) noexcept {
  if (unit == kSeconds) return;
  const UnitFactor* const entry = FindFactor(unit);
  if (entry == nullptr) {
    KeepFirstError(status, kUnknownUnitOrEpoch);
    return;
  }
  const Seconds factor(static_cast<std::uint32_t>(entry->factor >> 32U),
                       static_cast<std::uint32_t>(entry->factor), 0, 0);
  if (entry->shorterThanASecond == (direction == kUnitToSeconds)) {
    value /= factor;
    return;
  }
  const bool negative = value.IsNegative();
  value *= factor;
  if (value.IsNegative() != negative) KeepFirstError(status, kTimeOverflow);
}

}  // namespace nQVSS100
