#include "kit/StatusFromException.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "kit/exception/Exception.h"
#include "kit/exception/OutOfRange.h"

namespace {

using namespace qv::kit;

class WithCode : public exception::Exception {
 public:
  explicit WithCode(std::int32_t code) : code_(code) {}
  std::int32_t getErrorCode() const noexcept override { return code_; }

 private:
  std::int32_t code_;
};

template <typename ExceptionT>
std::int32_t CodeAfter(const ExceptionT& exception) {
  StatusChain status;
  status.clear();
  try {
    throw exception;
  } catch (...) {
    SetStatusFromCurrentException(status);
  }
  return status.code();
}

TEST(SetStatusFromCurrentException, TakesANegativeCode) {
  EXPECT_EQ(CodeAfter(exception::OutOfRange()), -1967362041);
  EXPECT_EQ(CodeAfter(exception::Exception()), -1);
  EXPECT_EQ(CodeAfter(WithCode(INT32_MIN)), INT32_MIN);
}

TEST(SetStatusFromCurrentException, MakesCodesThatReadAsSuccessMinusOne) {
  EXPECT_EQ(CodeAfter(WithCode(0)), -1);
  EXPECT_EQ(CodeAfter(WithCode(7)), -1);
  EXPECT_EQ(CodeAfter(WithCode(42)), -1);
}

TEST(SetStatusFromCurrentException, MakesForeignExceptionsMinusOne) {
  EXPECT_EQ(CodeAfter(std::runtime_error("foreign")), -1);
  EXPECT_EQ(CodeAfter(std::bad_alloc()), -1);
  EXPECT_EQ(CodeAfter(17), -1);
}

TEST(SetStatusFromCurrentException, LeavesTheExceptionToItsHandler) {
  StatusChain status;
  try {
    throw WithCode(-5);
  } catch (const WithCode& caught) {
    SetStatusFromCurrentException(status);
    EXPECT_EQ(caught.getErrorCode(), -5);
  }
  EXPECT_EQ(status.code(), -5);
}

}  // namespace
