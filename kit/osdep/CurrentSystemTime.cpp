#include "kit/osdep/CurrentSystemTime.h"

#include <sys/time.h>

#include <cstdint>

#include "kit/TimeAbsolute.h"

namespace qv::kit::osdep {
namespace {

/// Microseconds since 1970, in two's complement.
std::uint64_t ReadClock() noexcept {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
         static_cast<std::uint64_t>(now.tv_usec);
}

}  // namespace

AbsTime CurrentSystemTime() noexcept {
  const std::uint64_t microseconds = ReadClock();
  nQVSS100::tSSTimeValue time({static_cast<std::uint32_t>(microseconds >> 32U),
                               static_cast<std::uint32_t>(microseconds), 0, 0});
  // No clock is so far off that these could fail.
  long status = 0;
  nQVSS100::tSSTimeValue::_CorrectUnits(nQVSS100::kUnitToSeconds, nQVSS100::kMicroseconds,
                                        time.seconds(), &status);
  nQVSS100::tSSTimeAbsolute::_CorrectEpoch(nQVSS100::kEpochTo1904, nQVSS100::kEpoch1970, time,
                                           &status);
  return {time.seconds().integer(), time.seconds().fraction()};
}

}  // namespace qv::kit::osdep
