#include "kit/TimeAbsolute.h"

#include <gtest/gtest.h>

#include "tests/reference/FixedPointTable.h"

namespace {

using namespace nQVSS100;
using qv::tests::FixedPointRow;
using qv::tests::FixedPointRows;
using Seconds = tSSTimeValue::Seconds;

const Seconds kLastSeconds(0x7FFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU);
const Seconds kMostNegative(0x80000000U, 0, 0, 0);

TEST(TimeAbsolute, CopiesASpanAndLeavesTheStatusAlone) {
  for (const long before : {0L, 3L, -50003L}) {
    long status = before;
    const tSSTimeAbsolute time(tSSTimeValue(Seconds(1, 2, 3, 4)), &status);
    EXPECT_EQ(time.since1904().seconds(), Seconds(1, 2, 3, 4));
    EXPECT_EQ(status, before);
  }
}

TEST(CorrectEpoch, ConvertsEveryEpochBothWaysAsTheTableSays) {
  for (const FixedPointRow& row : FixedPointRows("epoch")) {
    SCOPED_TRACE(row.line());
    tSSTimeValue value(row.number<Seconds>(3));
    long status = 0;
    tSSTimeAbsolute::_CorrectEpoch(tEpochConversion(row.integer(1)), tEpoch(row.integer(2)), value,
                                   &status);
    ASSERT_EQ(value.seconds(), row.number<Seconds>(4));
    ASSERT_EQ(status, row.integer(5));
  }
}

TEST(CorrectEpoch, CountsTheSecondsBetweenTheYears) {
  // Days from January 1st of a year to January 1st, 1904.
  const struct {
    tEpoch epoch;
    int days;
  } cases[] = {{kEpoch1, -695055}, {kEpoch1601, -110667}, {kEpoch1970, 24107}};
  for (const auto& known : cases) {
    tSSTimeValue value;
    long status = 0;
    tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, known.epoch, value, &status);
    EXPECT_EQ(value.seconds(), Seconds(known.days) * Seconds(86400)) << known.epoch;
    tSSTimeAbsolute::_CorrectEpoch(k1904ToEpoch, known.epoch, value, &status);
    EXPECT_EQ(value.seconds(), Seconds()) << known.epoch;
    EXPECT_EQ(status, 0);
  }
}

TEST(CorrectEpoch, LeavesTheValueForAnUnknownEpoch) {
  tSSTimeValue value(Seconds(1, 2, 3, 4));
  long status = 0;
  tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, tEpoch(1904), value, &status);
  EXPECT_EQ(value.seconds(), Seconds(1, 2, 3, 4));
  EXPECT_EQ(status, -50003);
}

TEST(CorrectEpoch, ReplacesAWarningButNeverAnError) {
  for (const long before : {0L, 1L, -1L, -50175L}) {
    tSSTimeValue value;
    long status = before;
    tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, tEpoch(0), value, &status);
    EXPECT_EQ(status, before < 0 ? before : -50003) << before;
  }
}

TEST(CorrectEpoch, ReportsASumThatDoesNotFitAndKeepsItsLowBits) {
  tSSTimeValue late(kLastSeconds);
  long status = 0;
  tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, kEpoch1970, late, &status);
  EXPECT_EQ(status, -50175);
  EXPECT_TRUE(late.seconds().IsNegative());
  tSSTimeValue early(kMostNegative);
  status = 7;
  tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, kEpoch1601, early, &status);
  EXPECT_EQ(status, -50175);
  EXPECT_FALSE(early.seconds().IsNegative());
}

TEST(CorrectEpoch, MayChangeTheSignWhereTheOffsetHasTheOther) {
  tSSTimeValue value(Seconds(-1));
  long status = 0;
  tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, kEpoch1970, value, &status);
  EXPECT_EQ(value.seconds(), Seconds(2082844799));
  EXPECT_EQ(status, 0);
}

TEST(CorrectEpoch, ConvertsAlthoughTheStatusHoldsAnErrorAndLeavesThatError) {
  tSSTimeValue value;
  long status = -5;
  tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, kEpoch1970, value, &status);
  EXPECT_EQ(value.seconds(), Seconds(2082844800));
  value = tSSTimeValue(kLastSeconds);
  tSSTimeAbsolute::_CorrectEpoch(kEpochTo1904, kEpoch1970, value, &status);
  EXPECT_TRUE(value.seconds().IsNegative());
  EXPECT_EQ(status, -5);
}

}  // namespace
