#include "kit/TimeAbsolute.h"

namespace nQVSS100 {
namespace {

struct EpochOffset {
  tEpoch epoch;
  std::int64_t secondsTo1904;
};

constexpr EpochOffset kOffsets[] = {
    {kEpoch1, -60'052'752'000},
    {kEpoch1601, -9'561'628'800},
    {kEpoch1970, 2'082'844'800},
};

const EpochOffset* FindOffset(tEpoch epoch) noexcept {
  for (const EpochOffset& entry : kOffsets) {
    if (entry.epoch == epoch) return &entry;
  }
  return nullptr;
}

tSSTimeValue::Seconds FromSeconds(std::int64_t seconds) noexcept {
  const auto bits = static_cast<std::uint64_t>(seconds);
  return {static_cast<std::uint32_t>(bits >> 32U), static_cast<std::uint32_t>(bits), 0, 0};
}

}  // namespace

tSSTimeAbsolute::tSSTimeAbsolute(const tSSTimeValue& since1904, long* /*status*/) noexcept
    : since1904_(since1904) {}

void tSSTimeAbsolute::_CorrectEpoch(tEpochConversion direction, tEpoch epoch, tSSTimeValue& value,
                                    long* status) noexcept {
  const EpochOffset* const entry = FindOffset(epoch);
  if (entry == nullptr) {
    KeepFirstError(status, kUnknownUnitOrEpoch);
    return;
  }
  tSSTimeValue::Seconds offset = FromSeconds(entry->secondsTo1904);
  if (direction != kEpochTo1904) offset.Negate();
  const bool negative = value.seconds().IsNegative();
  value.seconds() += offset;
  if (negative == offset.IsNegative() && negative != value.seconds().IsNegative()) {
    KeepFirstError(status, kTimeOverflow);
  }
}

}  // namespace nQVSS100
