#include "kit/NumericCast.h"

#include <gtest/gtest.h>

#include <climits>

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

#if LONG_MAX > 0x7FFFFFFF
TEST(SignedToUnsigned, ALongThatNeedsMoreThanThirtyTwoBitsIsRefused) {
  EXPECT_EQ(toUnsigned(0xFFFFFFFFL), 0xFFFFFFFFU);
  EXPECT_THROW(toUnsigned(0x100000000L), OutOfRange);
  EXPECT_THROW(toUnsigned(LONG_MAX), OutOfRange);
}

TEST(LongToInt32, ALongThatNeedsMoreThanThirtyTwoBitsIsRefused) {
  EXPECT_THROW(LongToInt32(0x80000000L), OutOfRange);
  EXPECT_THROW(LongToInt32(-0x80000001L), OutOfRange);
  EXPECT_THROW(LongToInt32(0x100000000L), OutOfRange);
}
#endif

}  // namespace
