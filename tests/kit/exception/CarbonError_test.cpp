#include "kit/exception/CarbonError.h"

#include <gtest/gtest.h>

namespace {

using qv::kit::osdep::CarbonError;

TEST(CarbonError, ExtendsTheSignOfItsCode) {
  EXPECT_EQ(CarbonError(-43).whatcode(), 0xFFFFFFD5U);
  EXPECT_EQ(static_cast<std::int32_t>(CarbonError(-43).whatcode()), -43);
  EXPECT_EQ(CarbonError("text", -43).whatcode(), 0xFFFFFFD5U);
  EXPECT_EQ(CarbonError(-32768).whatcode(), 0xFFFF8000U);
  EXPECT_EQ(CarbonError(32767).whatcode(), 0x7FFFU);
}

TEST(CarbonError, FromACodeAloneHasNoTextOfItsOwn) {
  EXPECT_STREQ(CarbonError(-43).what(), "Unknown error code");
  EXPECT_STREQ(CarbonError(0).what(), "Unknown error code");
}

TEST(CarbonError, OnlyFileNotFoundAndNoErrorHaveAStatusOfTheirOwn) {
  EXPECT_EQ(CarbonError(0).getErrorCode(), 0);
  EXPECT_EQ(CarbonError(-43).getErrorCode(), 7);
  EXPECT_EQ(CarbonError(-42).getErrorCode(), 42);
  EXPECT_EQ(CarbonError(7).getErrorCode(), 42);
}

}  // namespace
