#include "kit/osdep/CurrentSystemTime.h"

#include <gtest/gtest.h>

#include <ctime>

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
