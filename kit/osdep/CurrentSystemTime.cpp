#include "kit/osdep/CurrentSystemTime.h"

#include <sys/time.h>

#include <cstdint>

namespace qv::kit::osdep {
namespace {

constexpr std::uint32_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::uint64_t kSecondsFrom1904To1970 = 2'082'844'800;

/// Microseconds since 1970, in two's complement.
std::uint64_t ReadClock() noexcept {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  return static_cast<std::uint64_t>(now.tv_sec) * kMicrosecondsPerSecond +
         static_cast<std::uint64_t>(now.tv_usec);
}

/// What tSSTimeValue and tSSTimeAbsolute make of that number in their units and epochs. Every trace
/// record takes it: dividing by a constant, the fraction in two digits of 32 bits, is forty times
/// as fast as their division bit by bit.
AbsTime ToTime(std::uint64_t microseconds) noexcept {
  const bool negative = microseconds >> 63U != 0;
  const std::uint64_t magnitude = negative ? 0 - microseconds : microseconds;
  std::uint64_t seconds = magnitude / kMicrosecondsPerSecond;
  const std::uint64_t first = magnitude % kMicrosecondsPerSecond << 32U;
  const std::uint64_t second = first % kMicrosecondsPerSecond << 32U;
  std::uint64_t fraction = first / kMicrosecondsPerSecond << 32U | second / kMicrosecondsPerSecond;
  if (negative) {
    seconds = fraction == 0 ? 0 - seconds : ~seconds;
    fraction = 0 - fraction;
  }
  return {static_cast<std::int64_t>(seconds + kSecondsFrom1904To1970), fraction};
}

}  // namespace

AbsTime CurrentSystemTime() noexcept {
  return ToTime(ReadClock());
}

}  // namespace qv::kit::osdep
