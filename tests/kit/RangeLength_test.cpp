#include "kit/RangeLength.h"

#include <gtest/gtest.h>

#include "kit/exception/OutOfRange.h"
#include "tests/ReservedRange.h"

namespace {

using namespace qv::kit;

TEST(RangeLength, CountsCharactersNotBytes) {
  const wchar_t text[] = L"abc";
  EXPECT_EQ(RangeLength(text, text + 3), 3U);
  EXPECT_EQ(RangeLength(text, text), 0U);
}

TEST(RangeLength, OfTwoNullPointersIsZero) {
  const char* nothing = nullptr;
  EXPECT_EQ(RangeLength(nothing, nothing), 0U);
}

TEST(RangeLength, RefusesAnEndBeforeTheBeginning) {
  const char text[] = "abc";
  EXPECT_THROW(RangeLength(text + 1, text), exception::OutOfRange);
}

TEST(RangeLength, GoesUpToAllOf32BitsAndRefusesMore) {
  if (!ReservedRange<wchar_t>::fits(0x100000000)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<wchar_t> range(0x100000000);
  EXPECT_EQ(RangeLength(range.begin(), range.end() - 1), 0xFFFFFFFFU);
  EXPECT_THROW(RangeLength(range.begin(), range.end()), exception::OutOfRange);
}

}  // namespace
