#include "kit/osdep/CurrentSystemTime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>

#include "kit/TimeAbsolute.h"
#include "tests/doubles/StagedSystemCalls.h"

namespace {

using qv::kit::AbsTime;
using qv::kit::osdep::CurrentSystemTime;
using qv::tests::StagedSystemCalls;

/// The time that a clock gives that says so.
AbsTime TimeOfClock(std::time_t seconds, suseconds_t microseconds) {
  StagedSystemCalls staged;
  timeval reading{};
  reading.tv_sec = seconds;
  reading.tv_usec = microseconds;
  staged.giveTime(reading);
  return CurrentSystemTime();
}

/// The same by the conversions between units and epochs.
AbsTime ConvertedTime(std::time_t seconds, suseconds_t microseconds) {
  using namespace nQVSS100;
  const std::int64_t count = std::int64_t{seconds} * 1000000 + microseconds;
  const auto bits = static_cast<std::uint64_t>(count);
  tSSTimeValue time(
      {static_cast<std::uint32_t>(bits >> 32U), static_cast<std::uint32_t>(bits), 0, 0});
  long status = 0;
  tSSTimeValue::_CorrectUnits(kUnitToSeconds, kMicroseconds, time.seconds(), &status);
  tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, kEpoch1970, time, &status);
  EXPECT_EQ(status, 0);
  return {time.seconds().integer(), time.seconds().fraction()};
}

TEST(CurrentSystemTimeStaged, IsWhatUnitsAndEpochsConvertTo) {
  for (const std::time_t seconds : {-2147483647 - 1, -2082844801, -2, -1, 0, 1, 2147483647}) {
    for (suseconds_t microseconds = 0; microseconds < 1000000; microseconds += 487) {
      ASSERT_EQ(TimeOfClock(seconds, microseconds), ConvertedTime(seconds, microseconds))
          << seconds << ' ' << microseconds;
    }
  }
}

TEST(CurrentSystemTimeStaged, CountsTheBeginningOf1970From1904) {
  EXPECT_EQ(TimeOfClock(0, 0), AbsTime(2082844800, 0));
}

TEST(CurrentSystemTimeStaged, HasHalfASecondAsTheHighestBitOfTheFraction) {
  EXPECT_EQ(TimeOfClock(0, 500000), AbsTime(2082844800, 0x8000000000000000U));
  EXPECT_EQ(TimeOfClock(1234567890, 500000), AbsTime(3317412690, 0x8000000000000000U));
}

// The fractions are floor(microseconds * 2^64 / 10^6), as bc and Python have them.
TEST(CurrentSystemTimeStaged, CutsAMicrosecondToTheLastPlace) {
  EXPECT_EQ(TimeOfClock(0, 1), AbsTime(2082844800, 18446744073709U));
}

TEST(CurrentSystemTimeStaged, HasTheLastMicrosecondOfASecondBelowTheNext) {
  EXPECT_EQ(TimeOfClock(0, 999999), AbsTime(2082844800, 18446725626965477906U));
  EXPECT_EQ(TimeOfClock(1, 0), AbsTime(2082844801, 0));
}

TEST(CurrentSystemTimeStaged, ReachesBehindTheLastSecondOf32Bits) {
  EXPECT_EQ(TimeOfClock(2147483647, 999999), AbsTime(4230328447, 18446725626965477906U));
  EXPECT_EQ(TimeOfClock(4102444800, 0), AbsTime(6185289600, 0));
}

// Before 1970 the count is negative: cutting towards zero there goes towards the later time.
TEST(CurrentSystemTimeStaged, GoesBackBefore1970) {
  EXPECT_EQ(TimeOfClock(-1, 0), AbsTime(2082844799, 0));
  EXPECT_EQ(TimeOfClock(-1, 500000), AbsTime(2082844799, 0x8000000000000000U));
  EXPECT_EQ(TimeOfClock(-1, 999999), AbsTime(2082844799, 18446725626965477907U));
}

TEST(CurrentSystemTimeStaged, GoesBackBefore1904) {
  EXPECT_EQ(TimeOfClock(-2082844800, 0), AbsTime(0, 0));
  EXPECT_EQ(TimeOfClock(-2082844801, 500000), AbsTime(-1, 0x8000000000000000U));
}

TEST(CurrentSystemTimeStaged, LiesBehindNoTimeAtAllWhateverTheClockSays) {
  EXPECT_LT(AbsTime(), TimeOfClock(-2147483647 - 1, 0));
  EXPECT_LT(AbsTime(), TimeOfClock(2147483647, 999999));
}

}  // namespace
