#include "kit/exception/OSException.h"

#include <gtest/gtest.h>

namespace {

using qv::kit::osdep::OSException;

TEST(OSException, BuiltOfNothingIsAnUnknownErrorWithCodeZeroAndStatus42) {
  const OSException error;
  EXPECT_STREQ(error.what(), "Unknown error");
  EXPECT_EQ(error.whatcode(), 0U);
  EXPECT_EQ(error.getErrorCode(), 42);
}

TEST(OSException, KeepsMessageAndCodeAndItsStatusDoesNotDependOnThem) {
  const OSException error("no such thing", 0xFFFFFFFFU);
  EXPECT_STREQ(error.what(), "no such thing");
  EXPECT_EQ(error.whatcode(), 0xFFFFFFFFU);
  EXPECT_EQ(OSException("none", 0).getErrorCode(), 42);
  EXPECT_EQ(OSException("missing", 2).getErrorCode(), 42);
}

}  // namespace
