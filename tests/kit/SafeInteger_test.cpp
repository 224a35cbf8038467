#include "kit/SafeInteger.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <set>

namespace {

using qv::kit::exception::OutOfRange;
using Safe = qv::kit::SafeInteger<unsigned long>;

TEST(SafeInteger, HoldsThirtyTwoBitsOnEveryPlatform) {
  EXPECT_EQ(sizeof(Safe), 4U);
}

TEST(SafeInteger, ReadsBackAsThePlainValue) {
  EXPECT_EQ(Safe(0).value(), 0U);
  EXPECT_EQ(Safe(4294967295UL).value(), 4294967295U);
}

TEST(SafeInteger, RefusesNegativeValues) {
  EXPECT_THROW(Safe(-1), OutOfRange);
  EXPECT_THROW(Safe(LLONG_MIN), OutOfRange);
}

TEST(SafeInteger, RefusesValuesThatNeedMoreThanThirtyTwoBits) {
  EXPECT_THROW(Safe(4294967296ULL), OutOfRange);
  EXPECT_THROW(Safe(4294967296LL), OutOfRange);
  EXPECT_THROW(Safe(ULLONG_MAX), OutOfRange);
}

TEST(SafeIntegerAdd, SumsUpToTheLargestValue) {
  EXPECT_EQ(Safe::Add(0, 0).value(), 0U);
  EXPECT_EQ(Safe::Add(0xFFFFFFFF, 0).value(), 0xFFFFFFFFU);
  EXPECT_EQ(Safe::Add(0, 0xFFFFFFFF).value(), 0xFFFFFFFFU);
  EXPECT_EQ(Safe::Add(0x7FFFFFFF, 0x80000000).value(), 0xFFFFFFFFU);
}

TEST(SafeIntegerAdd, ThrowsInsteadOfWrapping) {
  EXPECT_THROW(Safe::Add(0xFFFFFFFF, 1), OutOfRange);
  EXPECT_THROW(Safe::Add(1, 0xFFFFFFFF), OutOfRange);
  EXPECT_THROW(Safe::Add(0x80000000, 0x80000000), OutOfRange);
}

TEST(SafeIntegerMultiplication, GivesProductsThatFit) {
  EXPECT_EQ((Safe(0x3FFFFFFF) * 4).value(), 0xFFFFFFFCU);
  EXPECT_EQ((Safe(0x1FFFFFFF) * 8).value(), 0xFFFFFFF8U);
  EXPECT_EQ((Safe(357913941) * 12).value(), 4294967292U);
  EXPECT_EQ((Safe(0xFFFFFFFF) * 0).value(), 0U);
  EXPECT_EQ((Safe(0xFFFFFFFF) * 1).value(), 0xFFFFFFFFU);
}

TEST(SafeIntegerMultiplication, ThrowsFromTheFirstCountWhoseProductDoesNotFit) {
  EXPECT_THROW(Safe(0x40000000) * 4, OutOfRange);
  EXPECT_THROW(Safe(0x20000000) * 8, OutOfRange);
  EXPECT_THROW(Safe(357913942) * 12, OutOfRange);
  EXPECT_THROW(Safe(0xFFFFFFFF) * 0xFFFFFFFF, OutOfRange);
}

TEST(SafeIntegerDoubling, DoublesBelowHalfTheRangeAndThrowsFromThere) {
  EXPECT_EQ(Safe(0).doubled().value(), 0U);
  EXPECT_EQ(Safe(0x7FFFFFFF).doubled().value(), 0xFFFFFFFEU);
  EXPECT_THROW(Safe(0x80000000).doubled(), OutOfRange);
  EXPECT_THROW(Safe(0xFFFFFFFF).doubled(), OutOfRange);
}

template <typename Action>
std::uint32_t LineOfFailure(Action action) {
  try {
    action();
  } catch (const OutOfRange& exception) {
    EXPECT_STREQ(exception.what(), "Out of range");
    EXPECT_STREQ(exception.file(), "kit/SafeInteger.h");
    return exception.line();
  }
  ADD_FAILURE();
  return 0;
}

TEST(SafeInteger, AFailedCheckCarriesThePlaceOfThatCheck) {
  const std::set<std::uint32_t> lines{
      LineOfFailure([] { Safe(-1); }),
      LineOfFailure([] { Safe::Add(0xFFFFFFFF, 1); }),
      LineOfFailure([] { static_cast<void>(Safe(0x40000000) * 4); }),
      LineOfFailure([] { Safe(0x80000000).doubled(); }),
  };
  EXPECT_EQ(lines.size(), 4U) << "two checks share a line";
  EXPECT_EQ(lines.count(0), 0U);
}

}  // namespace
