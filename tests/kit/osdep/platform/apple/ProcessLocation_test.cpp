#include "kit/osdep/platform/ProcessLocation.h"

#include <gmock/gmock.h>

#include "kit/exception/CarbonError.h"
#include "kit/osdep/GetExePath.h"
#include "kit/osdep/GetModuleDirectory.h"
#include "tests/doubles/Text.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep;
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

TEST_F(AppleProcess, ThatIsNotKnownThrowsTheCodeOfTheCall) {
  foundation_.setCurrentProcessResult(-600);
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-600));
  EXPECT_FALSE(called("GetProcessBundleLocation"));
}

TEST_F(AppleProcess, WithoutABundleLocationThrowsTheCodeOfTheCall) {
  foundation_.setProcessLocationResult(-43);
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-43));
  foundation_.setProcessLocationResult(-32768);
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-32768));
  foundation_.setProcessLocationResult(32767);
  EXPECT_EQ(errorCode(), 32767U);
  EXPECT_FALSE(called("CFURLCreateFromFSRef"));
}

TEST_F(AppleProcess, NeverThrowsWhatACodeTooLargeLeavesInSixteenBits) {
  for (const std::int32_t status : {0x10000, -0x10000, 32768, -32769}) {
    foundation_.setProcessLocationResult(status);
    EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-1)) << status;
  }
}

TEST_F(AppleProcess, WhoseLocationMakesNoUrlThrowsMinusOne) {
  foundation_.fail("CFURLCreateFromFSRef");
  EXPECT_EQ(errorCode(), static_cast<std::uint32_t>(-1));
}

TEST_F(AppleProcess, WhoseUrlHasNoPathHasNone) {
  foundation_.fail("CFURLCopyFileSystemPath");
  EXPECT_EQ(Exactly(GetExePath()), L"");
}

}  // namespace
