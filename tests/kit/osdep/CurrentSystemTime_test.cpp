#include "kit/osdep/CurrentSystemTime.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <cstdint>

namespace {

using qv::kit::AbsTime;
using qv::kit::osdep::CurrentSystemTime;

constexpr std::int64_t kSecondsFrom1904To1970 = 2082844800;

/// The moment that a reading of the clock stands for, in microseconds since 1970.
std::int64_t Microseconds(const timeval& reading) {
  return std::int64_t{reading.tv_sec} * 1000000 + reading.tv_usec;
}

/// The same for a time, to the next microsecond, for the fraction is cut.
std::int64_t Microseconds(const AbsTime& time) {
  const auto fraction = static_cast<double>(time.fraction()) / 18446744073709551616.0;
  return (time.seconds() - kSecondsFrom1904To1970) * 1000000 +
         static_cast<std::int64_t>(fraction * 1000000 + 0.5);
}

TEST(CurrentSystemTime, LiesBetweenTwoReadingsOfTheClock) {
  timeval before{};
  timeval after{};
  ASSERT_EQ(::gettimeofday(&before, nullptr), 0);
  const AbsTime now = CurrentSystemTime();
  ASSERT_EQ(::gettimeofday(&after, nullptr), 0);
  EXPECT_LE(Microseconds(before), Microseconds(now));
  EXPECT_LE(Microseconds(now), Microseconds(after));
}

TEST(CurrentSystemTime, LiesBehindNoTimeAtAll) {
  EXPECT_LT(AbsTime(), CurrentSystemTime());
}

}  // namespace
