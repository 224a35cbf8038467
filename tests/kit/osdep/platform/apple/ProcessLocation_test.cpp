#include "kit/osdep/platform/ProcessLocation.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "kit/exception/CarbonError.h"
#include "kit/osdep/GetExePath.h"
#include "kit/osdep/GetModuleDirectory.h"
#include "tests/doubles/Text.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep;
using qv::kit::WString;
using qv::tests::Exactly;
using testing::ElementsAre;
using testing::StartsWith;

class AppleProcess : public qv::tests::AppleTest {
 protected:
  AppleProcess() { foundation_.setProcessLocation("/Applications/Host.app"); }

  /// The code of the CarbonError that GetExePath throws.
  static std::uint32_t errorCode() {
    try {
      GetExePath();
      ADD_FAILURE() << "nothing thrown";
    } catch (const CarbonError& error) {
      EXPECT_STREQ(error.what(), "Unknown error code");
      return error.whatcode();
    }
    return 0;
  }
};

TEST_F(AppleProcess, IsAskedForItsBundle) {
  EXPECT_EQ(Exactly(GetExePath()), L"/Applications/Host.app");
  EXPECT_THAT(foundation_.calls(),
              ElementsAre("GetCurrentProcess", "GetProcessBundleLocation 0 2",
                          "CFURLCreateFromFSRef /Applications/Host.app",
                          "CFURLCopyFileSystemPath /Applications/Host.app 0", "CFStringGetLength",
                          StartsWith("CFStringGetBytes")));
}

TEST_F(AppleProcess, LiesInADirectoryThatEndsInASlash) {
  EXPECT_EQ(Exactly(GetExeDirectory()), L"/Applications/");
  EXPECT_EQ(Exactly(GetModuleDirectory(nullptr)), L"/Applications/");
}

TEST_F(AppleProcess, WhereNoPathLeadsLiesInTheCurrentDirectory) {
  foundation_.fail("CFURLCopyFileSystemPath");
  EXPECT_EQ(Exactly(GetExeDirectory()), std::filesystem::current_path().wstring() + L"/");
}

TEST_F(AppleProcess, ThatIsNotKnownThrowsTheCodeOfTheCall) {
  foundation_.fail("GetCurrentProcess", -600);
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-600));
  foundation_.fail("GetCurrentProcess", 1);
  EXPECT_EQ(errorCode(), 1U);
  EXPECT_FALSE(called("GetProcessBundleLocation"));
}

TEST_F(AppleProcess, WithoutABundleLocationThrowsTheCodeOfTheCall) {
  foundation_.fail("GetProcessBundleLocation", -43);
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-43));
  foundation_.fail("GetProcessBundleLocation", -32768);
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-32768));
  foundation_.fail("GetProcessBundleLocation", 32767);
  EXPECT_EQ(errorCode(), 32767U);
  EXPECT_FALSE(called("CFURLCreateFromFSRef"));
}

TEST_F(AppleProcess, NeverThrowsWhatACodeTooLargeLeavesInSixteenBits) {
  for (const std::int32_t status : {0x10000, -0x10000, 32768, -32769}) {
    foundation_.fail("GetProcessBundleLocation", status);
    EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-1)) << status;
  }
}

TEST_F(AppleProcess, WhoseLocationMakesNoUrlThrowsMinusOne) {
  foundation_.fail("CFURLCreateFromFSRef", -43);
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-1));
}

TEST_F(AppleProcess, ThrowsWhereItsLocationFailsAndHasNoPathWhereThatDoes) {
  std::vector<std::string> thrown;
  const int calls = withEachCallFailing([&] {
    try {
      const WString path = GetExePath();
      EXPECT_EQ(path.empty(), hasFailed());
    } catch (const CarbonError&) {
      thrown.push_back(foundation_.failedCall());
    }
  });
  EXPECT_EQ(calls, 5) << "a process, its location, a place, a string and its bytes";
  EXPECT_THAT(thrown, ElementsAre("GetCurrentProcess", "GetProcessBundleLocation 0 2",
                                  "CFURLCreateFromFSRef /Applications/Host.app"));
}

}  // namespace
