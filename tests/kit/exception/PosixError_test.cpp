#include "kit/exception/PosixError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using qv::kit::osdep::OSException;
using qv::kit::osdep::PosixError;

struct Row {
  int code;
  std::int32_t status;
};

TEST(PosixError, TakesCodeAndTextFromErrno) {
  for (const Row& row : {Row{0, 0}, Row{ENOENT, 7}, Row{EACCES, 42}, Row{EPERM, 42}}) {
    const std::string text = std::strerror(row.code);
    errno = row.code;
    const PosixError error;
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(row.code));
    EXPECT_EQ(error.what(), text);
    EXPECT_EQ(error.getErrorCode(), row.status);
  }
}

TEST(PosixError, KeepsTheCodeThatErrnoHadWhenItChangesLater) {
  errno = EACCES;
  const PosixError error;
  errno = ENOENT;
  EXPECT_EQ(error.whatcode(), 13U);
  EXPECT_EQ(error.getErrorCode(), 42);
}

TEST(PosixError, TakesATextFromElsewhereWithoutLookingAtErrno) {
  errno = EACCES;
  const PosixError error("symbol not found", 2);
  EXPECT_STREQ(error.what(), "symbol not found");
  EXPECT_EQ(error.whatcode(), 2U);
  EXPECT_EQ(error.getErrorCode(), 7);
}

TEST(PosixError, IsCaughtAsOSException) {
  try {
    throw PosixError("gone", 2);
  } catch (const OSException& error) {
    EXPECT_EQ(error.getErrorCode(), 7);
  }
}

TEST(PosixError, HasATextOfTheCLibraryForCodesThatNobodyKnows) {
  for (const int code : {-43, 12345}) {
    const std::string text = std::strerror(code);
    errno = code;
    EXPECT_EQ(PosixError().what(), text);
  }
}

TEST(PosixError, LeavesTheTextThatAnotherCallOfStrerrorGave) {
  const char* const shared = std::strerror(54321);
  const std::string before = shared;
  errno = 12345;
  const PosixError error;
  EXPECT_EQ(shared, before);
}

}  // namespace
