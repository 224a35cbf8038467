#include "kit/AbsTime.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using qv::kit::AbsTime;

TEST(AbsTime, IsTheMostNegativeNumberOfSecondsByDefault) {
  const AbsTime time;
  EXPECT_EQ(time.seconds(), INT64_MIN);
  EXPECT_EQ(time.fraction(), 0U);
}

TEST(AbsTime, TellsItsSecondsAndTheFractionUpwardsFromThem) {
  const AbsTime time(0x0123456789ABCDEF, 0x1122334455667788);
  EXPECT_EQ(time.seconds(), 0x0123456789ABCDEF);
  EXPECT_EQ(time.fraction(), 0x1122334455667788U);
  EXPECT_EQ(AbsTime(-2, 5).seconds(), -2);
}

TEST(AbsTime, ComparesEveryBit) {
  const AbsTime time(1, 1);
  EXPECT_TRUE(time == AbsTime(1, 1));
  for (const AbsTime& other :
       {AbsTime(1, 2), AbsTime(1, 0x100000001), AbsTime(2, 1), AbsTime(0x100000001, 1)}) {
    EXPECT_TRUE(time != other);
    EXPECT_FALSE(time == other);
    EXPECT_TRUE(time < other);
    EXPECT_FALSE(other < time);
  }
  EXPECT_FALSE(time < time);
}

TEST(AbsTime, OrdersNegativeSecondsFirstAndFractionsUpwards) {
  EXPECT_TRUE(AbsTime() < AbsTime(INT64_MIN, 1));
  EXPECT_TRUE(AbsTime(-1, UINT64_MAX) < AbsTime(0, 0));
  EXPECT_TRUE(AbsTime(-1, 0) < AbsTime(-1, 0x8000000000000000));
}

}  // namespace
