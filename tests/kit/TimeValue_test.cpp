#include "kit/TimeValue.h"

#include <gtest/gtest.h>

#include "tests/Longs.h"
#include "tests/reference/FixedPointTable.h"

namespace {

using namespace nQVSS100;
using qv::tests::FixedPointRow;
using qv::tests::FixedPointRows;
using Seconds = tSSTimeValue::Seconds;

const Seconds kGreatestValue(0x7FFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU);

/// The value after the conversion, for a status that is ignored.
Seconds Converted(tUnitConversion direction, tTimeUnit unit, Seconds value) {
  long status = 0;
  tSSTimeValue::_CorrectUnits(direction, unit, value, &status);
  return value;
}

TEST(TimeValue, HoldsItsSeconds) {
  EXPECT_EQ(tSSTimeValue().seconds(), Seconds());
  EXPECT_EQ(tSSTimeValue(Seconds(-5)).seconds(), Seconds(-5));
}

TEST(TimeValue, NumbersUnitsAndDirectionsAsOthersDo) {
  EXPECT_EQ(kAttoseconds, 0x36CAD7B7);
  EXPECT_EQ(kFemtoseconds, 0x36CAD7BA);
  EXPECT_EQ(kPicoseconds, 0x36CAD7BD);
  EXPECT_EQ(kNanoseconds, 0x36CAD7C0);
  EXPECT_EQ(kTicksOf100Nanoseconds, 0x36CAD7C2);
  EXPECT_EQ(kMicroseconds, 0x36CAD7C3);
  EXPECT_EQ(kMilliseconds, 0x36CAD7C6);
  EXPECT_EQ(kSeconds, 0x36CAD7C9);
  EXPECT_EQ(kMinutes, 0x36CAD7CB);
  EXPECT_EQ(kHours, 0x36CAD7CD);
  EXPECT_EQ(kDays, 0x36CAD7CF);
  EXPECT_EQ(kUnitToSeconds, 1);
  EXPECT_EQ(kSecondsToUnit, 2);
}

TEST(CorrectUnits, ConvertsEveryUnitBothWaysAsTheTableSays) {
  for (const FixedPointRow& row : FixedPointRows("unit")) {
    SCOPED_TRACE(row.line());
    auto value = row.number<Seconds>(3);
    long status = 0;
    tSSTimeValue::_CorrectUnits(tUnitConversion(row.integer(1)), tTimeUnit(row.integer(2)), value,
                                &status);
    ASSERT_EQ(value, row.number<Seconds>(4));
    ASSERT_EQ(status, row.integer(5));
  }
}

TEST(CorrectUnits, DividesUnitsShorterThanASecondAndMultipliesLongerOnes) {
  EXPECT_EQ(Converted(kUnitToSeconds, kMilliseconds, Seconds(1500)), Seconds(0, 1, 1U << 31U, 0));
  EXPECT_EQ(Converted(kUnitToSeconds, kMinutes, Seconds(-2)), Seconds(-120));
  EXPECT_EQ(Converted(kUnitToSeconds, kHours, Seconds(2)), Seconds(7200));
  EXPECT_EQ(Converted(kUnitToSeconds, kDays, Seconds(2)), Seconds(172800));
}

TEST(CorrectUnits, SwapsTheTwoOnTheWayBack) {
  EXPECT_EQ(Converted(kSecondsToUnit, kMilliseconds, Seconds(0, 1, 1U << 31U, 0)), Seconds(1500));
  EXPECT_EQ(Converted(kSecondsToUnit, kMinutes, Seconds(-120)), Seconds(-2));
  EXPECT_EQ(Converted(kSecondsToUnit, kDays, Seconds(43200)), Seconds(0, 0, 1U << 31U, 0));
}

TEST(CorrectUnits, CutsAMicrosecondToAMultipleOfTheLastPlace) {
  // 2^64 / 10^6 = 18446744073709.551616
  EXPECT_EQ(Converted(kUnitToSeconds, kMicroseconds, Seconds(1)),
            Seconds(0, 0, 0x10C6U, 0xF7A0B5EDU));
}

TEST(CorrectUnits, LeavesSecondsAndTheirStatusAlone) {
  for (const long before : {0L, 3L, -7L}) {
    Seconds value = kGreatestValue;
    long status = before;
    tSSTimeValue::_CorrectUnits(kUnitToSeconds, kSeconds, value, &status);
    tSSTimeValue::_CorrectUnits(kSecondsToUnit, kSeconds, value, &status);
    EXPECT_EQ(value, kGreatestValue);
    EXPECT_EQ(status, before);
  }
}

TEST(CorrectUnits, LeavesTheValueForAnUnknownUnit) {
  Seconds value(1, 2, 3, 4);
  long status = 0;
  tSSTimeValue::_CorrectUnits(kUnitToSeconds, tTimeUnit(12), value, &status);
  EXPECT_EQ(value, Seconds(1, 2, 3, 4));
  EXPECT_EQ(status, -50003);
}

TEST(CorrectUnits, ReplacesAWarningButNeverAnError) {
  for (const long before : {0L, 1L, 0x7FFFFFFFL, -1L, -50175L, -0x7FFFFFFFL - 1}) {
    Seconds value;
    long status = before;
    tSSTimeValue::_CorrectUnits(kUnitToSeconds, tTimeUnit(12), value, &status);
    EXPECT_EQ(status, before < 0 ? before : -50003) << before;
  }
}

TEST(CorrectUnits, JudgesAStatusByAllItsBits) {
  for (const long before : LongsAroundTheLimits<long>()) {
    // A literal with the high bit of 32 is positive in a long of 64 bits.
    const bool isError = before < 0 || (!FitsInt32(before) && FitsUint32(before));
    Seconds value;
    long status = before;
    tSSTimeValue::_CorrectUnits(kUnitToSeconds, tTimeUnit(12), value, &status);
    EXPECT_EQ(status, isError ? before : -50003) << before;
  }
}

TEST(CorrectUnits, SeesAnErrorInALiteralWithTheHighBit) {
  Seconds value;
  auto status = static_cast<long>(0x80004005UL);
  tSSTimeValue::_CorrectUnits(kUnitToSeconds, tTimeUnit(12), value, &status);
  EXPECT_EQ(status, static_cast<long>(0x80004005UL));
}

TEST(CorrectUnits, ReportsAProductThatChangedItsSignAndKeepsWhatIsLeft) {
  Seconds value = kGreatestValue;
  long status = 0;
  tSSTimeValue::_CorrectUnits(kSecondsToUnit, kMilliseconds, value, &status);
  EXPECT_EQ(status, -50175);
  EXPECT_EQ(value, kGreatestValue * Seconds(1000));
  EXPECT_TRUE(value.IsNegative());
}

TEST(CorrectUnits, DoesNotSeeAnOverflowThatKeepsTheSign) {
  // 2^62 days are 675 * 2^69 seconds: no bit of them is left.
  Seconds value(0x40000000U, 0, 0, 0);
  long status = 0;
  tSSTimeValue::_CorrectUnits(kUnitToSeconds, kDays, value, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(value, Seconds());
}

TEST(CorrectUnits, ConvertsAlthoughTheStatusHoldsAnErrorAndLeavesThatError) {
  Seconds value(120);
  long status = -5;
  tSSTimeValue::_CorrectUnits(kSecondsToUnit, kMinutes, value, &status);
  EXPECT_EQ(value, Seconds(2));
  value = kGreatestValue;
  tSSTimeValue::_CorrectUnits(kSecondsToUnit, kMilliseconds, value, &status);
  EXPECT_EQ(value, kGreatestValue * Seconds(1000));
  EXPECT_EQ(status, -5);
}

}  // namespace
