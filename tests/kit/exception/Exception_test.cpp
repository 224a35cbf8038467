#include "kit/exception/Exception.h"

#include <gtest/gtest.h>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/BoundExceeded.h"
#include "kit/exception/OutOfRange.h"

namespace {

using qv::kit::exception::BoundExceeded;
using qv::kit::exception::Exception;
using qv::kit::exception::OutOfRange;

TEST(Exception, BuiltWithoutThrowKnowsNoPlace) {
  const Exception exception;
  EXPECT_EQ(exception.line(), 0U);
  EXPECT_EQ(exception.file(), nullptr);
}

TEST(Exception, ThrownKnowsItsFileRelativeToTheRootAndItsLine) {
  std::uint32_t line = 0;
  try {
    line = __LINE__ + 1;
    QV_THROW(OutOfRange());
  } catch (const Exception& exception) {
    EXPECT_STREQ(exception.file(), "tests/kit/exception/Exception_test.cpp");
    EXPECT_EQ(exception.line(), line);
    EXPECT_STREQ(exception.what(), "Out of range");
  }
}

TEST(Exception, OutOfRangeAndBoundExceededShareTheirCode) {
  EXPECT_EQ(OutOfRange().getErrorCode(), -1967362041);
  EXPECT_EQ(BoundExceeded().getErrorCode(), OutOfRange().getErrorCode());
}

TEST(AddFileAndLineInfo, GivesACopyThatKnowsThePlaceAndLeavesTheOriginal) {
  OutOfRange original;
  const OutOfRange placed = qv::kit::AddFileAndLineInfo(original, "here", 12);
  EXPECT_STREQ(placed.file(), "here");
  EXPECT_EQ(placed.line(), 12U);
  EXPECT_EQ(original.file(), nullptr);
  EXPECT_EQ(original.line(), 0U);
}

}  // namespace
