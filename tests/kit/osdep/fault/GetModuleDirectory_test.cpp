#include "kit/osdep/GetModuleDirectory.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "kit/exception/PosixError.h"
#include "kit/osdep/GetExePath.h"
#include "tests/doubles/StagedSystemCalls.h"

namespace {

using qv::kit::osdep::GetExeDirectory;
using qv::kit::osdep::GetExePath;
using qv::kit::osdep::GetModuleDirectory;
using qv::kit::osdep::PosixError;
using qv::tests::StagedSystemCalls;
using qv::tests::SystemCall;

/// The text of the error that GetModuleDirectory throws, whose code must be 0.
std::string ModuleError() {
  int anywhere = 0;
  try {
    GetModuleDirectory(&anywhere);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), 0U);
    EXPECT_EQ(error.getErrorCode(), 0);
    EXPECT_NE(error.line(), 0U);
    return error.what();
  }
  return "";
}

TEST(GetModuleDirectoryFault, ThrowsTheTextOfTheLoader) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Dladdr, 0);
  EXPECT_EQ(::dlopen("/no/such/library", RTLD_NOW), nullptr);
  EXPECT_EQ(ModuleError().rfind("/no/such/library: ", 0), 0U);
}

TEST(GetModuleDirectoryFault, ThrowsUnknownErrorWhenTheLoaderSaysNothing) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Dladdr, 0);
  ::dlerror();
  EXPECT_EQ(ModuleError(), "Unknown error");
}

TEST(GetModuleDirectoryFault, DoesNotAskTheLoaderAboutANullAddress) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Dladdr, 0);
  EXPECT_EQ(GetModuleDirectory(nullptr).exactCompare(GetExeDirectory()), 0);
}

/// Expects the error of a readlink that failed with EACCES.
template <typename FunctionT>
void ExpectAccessError(FunctionT function) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Readlink, EACCES);
  try {
    function();
    FAIL() << "nothing was thrown";
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(EACCES));
    EXPECT_STREQ(error.what(), std::strerror(EACCES));
  }
}

TEST(GetExePathFault, ThrowsTheErrorOfTheSystemThatCannotTell) {
  ExpectAccessError([] { GetExePath(); });
  ExpectAccessError([] { GetExeDirectory(); });
  ExpectAccessError([] { GetModuleDirectory(nullptr); });
}

}  // namespace
