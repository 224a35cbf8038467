#include "kit/NumericCast.h"

#include <gtest/gtest.h>

#include <climits>

#include "tests/Longs.h"

namespace {

using namespace qv::kit;
using exception::OutOfRange;

const _UnsignedToSigned<int, unsigned long> toSigned;
const _SignedToUnsigned<unsigned long, long> toUnsigned;

TEST(UnsignedToSigned, GivesValuesBelowTwoToTheThirtyFirst) {
  EXPECT_EQ(toSigned(0), 0);
  EXPECT_EQ(toSigned(0x7FFFFFFF), 2147483647);
}

TEST(UnsignedToSigned, ThrowsFromTwoToTheThirtyFirstOn) {
  EXPECT_THROW(toSigned(0x80000000UL), OutOfRange);
  EXPECT_THROW(toSigned(0xFFFFFFFFUL), OutOfRange);
  EXPECT_THROW(toSigned(ULONG_MAX), OutOfRange);
}

TEST(UnsignedToSigned, GivesWhatAnIntHasOfAnUnsignedLongAndRefusesTheRest) {
  for (const auto value : LongsAroundTheLimits<unsigned long>()) {
    if (std::uint64_t{value} <= INT_MAX) {
      EXPECT_EQ(static_cast<unsigned long>(toSigned(value)), value);
    } else {
      EXPECT_THROW(toSigned(value), OutOfRange) << value;
    }
  }
}

TEST(UnsignedToSigned, AFailureCarriesItsPlace) {
  try {
    toSigned(0x80000000UL);
    FAIL();
  } catch (const OutOfRange& exception) {
    EXPECT_STREQ(exception.file(), "kit/NumericCast.h");
    EXPECT_NE(exception.line(), 0U);
  }
}

TEST(SignedToUnsigned, GivesValuesThatAreNotNegative) {
  EXPECT_EQ(toUnsigned(0), 0U);
  EXPECT_EQ(toUnsigned(2147483647L), 2147483647U);
}

TEST(SignedToUnsigned, ThrowsOnNegativeValues) {
  EXPECT_THROW(toUnsigned(-1), OutOfRange);
  EXPECT_THROW(toUnsigned(LONG_MIN), OutOfRange);
}

TEST(SignedToUnsigned, GivesWhatThirtyTwoBitsHaveOfALongAndRefusesTheRest) {
  for (const auto value : LongsAroundTheLimits<long>()) {
    if (FitsUint32(static_cast<std::uint64_t>(value))) {
      EXPECT_EQ(toUnsigned(value), static_cast<unsigned long>(value));
    } else {
      EXPECT_THROW(toUnsigned(value), OutOfRange) << value;
    }
  }
}

TEST(SignedToUnsigned, AFailureCarriesItsPlace) {
  try {
    toUnsigned(-1);
    FAIL();
  } catch (const OutOfRange& exception) {
    EXPECT_STREQ(exception.file(), "kit/NumericCast.h");
    EXPECT_NE(exception.line(), 0U);
  }
}

TEST(LongToInt32, GivesEveryValueOfThirtyTwoBits) {
  EXPECT_EQ(LongToInt32(-2147483647L - 1), -2147483647 - 1);
  EXPECT_EQ(LongToInt32(-1), -1);
  EXPECT_EQ(LongToInt32(2147483647L), 2147483647);
}

TEST(LongToInt32, GivesALongOfThirtyTwoBitsAndRefusesAnyOther) {
  for (const auto value : LongsAroundTheLimits<long>()) {
    if (FitsInt32(value)) {
      EXPECT_EQ(LongToInt32(value), value);
    } else {
      EXPECT_THROW(LongToInt32(value), OutOfRange) << value;
    }
  }
}

}  // namespace
