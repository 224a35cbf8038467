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

// A code such as 0x80004005 that was put into a long of 64 bits by its literal is positive there.
bool IsErrorCode(long status) noexcept {
  const auto code = static_cast<std::int32_t>(status);
  return status < 0 || (code < 0 && status == static_cast<long>(static_cast<std::uint32_t>(code)));
}

}  // namespace

void KeepFirstError(long* status, std::int32_t error) noexcept {
  if (!IsErrorCode(*status)) *status = error;
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
