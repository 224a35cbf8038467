#include "tests/doubles/corefoundation/CoreFoundationDouble.h"

#include <Carbon/Carbon.h>
#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "kit/osdep/platform/apple/CFOwner.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

// That the double finds out what the tests rely on it to find out.

namespace {

using qv::kit::osdep::CFOwner;
using qv::tests::CoreFoundationDouble;
using testing::HasSubstr;

class Misuse : public qv::tests::AppleTest {
 protected:
  static CFURLRef urlOf(const std::string& path) {
    const CFOwner<CFStringRef> text(
        CoreFoundationDouble::instance().makeString({path.begin(), path.end()}));
    return CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.get(), kCFURLPOSIXPathStyle,
                                         false);
  }
};

TEST_F(Misuse, ByReleasingTwiceEndsTheProgram) {
  const CFStringRef string = foundation_.makeString(u"a");
  CFRelease(string);
  EXPECT_DEATH(CFRelease(string), "used after its release");
}

TEST_F(Misuse, ByReleasingNullEndsTheProgram) {
  EXPECT_DEATH(CFRelease(nullptr), "null in place of an object");
}

TEST_F(Misuse, ByReleasingWhatIsTheSystemsEndsTheProgram) {
  foundation_.setMainBundle("/main");
  EXPECT_DEATH(CFRelease(CFBundleGetMainBundle()), "released without a reference");
}

TEST_F(Misuse, ByReleasingWhatWasNeverGivenEndsTheProgram) {
  const int nothing = 0;
  EXPECT_DEATH(CFRelease(&nothing), "not an object");
}

TEST_F(Misuse, ByUsingWhatIsReleasedEndsTheProgramEvenOnceThereIsSomethingNew) {
  const CFStringRef string = foundation_.makeString(u"a");
  CFRelease(string);
  const CFOwner<CFStringRef> another(foundation_.makeString(u"b"));
  EXPECT_DEATH(CFStringGetLength(string), "used after its release");
}

TEST_F(Misuse, ByUsingAnObjectAsOneOfAnotherKindEndsTheProgram) {
  const CFOwner<CFStringRef> string(foundation_.makeString(u"a"));
  const auto* const url = reinterpret_cast<CFURLRef>(string.get());
  EXPECT_DEATH(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle), "an object of another kind");
}

TEST_F(Misuse, ByUsingAPlaceThatWasNotFoundEndsTheProgram) {
  FSRef place{};
  ASSERT_NE(FSFindFolder(kLocalDomain, kPreferencesFolderType, kDontCreateFolder, &place), noErr);
  EXPECT_DEATH(CFURLCreateFromFSRef(kCFAllocatorDefault, &place), "no place");
}

TEST_F(Misuse, IsNotToOpenABundleTwiceAndReleaseItTwice) {
  const qv::tests::TemporaryDirectory directory;
  const CFOwner<CFURLRef> url(urlOf(directory.path()));
  CFOwner<CFBundleRef> first(CFBundleCreate(kCFAllocatorDefault, url.get()));
  const CFOwner<CFBundleRef> second(CFBundleCreate(kCFAllocatorDefault, url.get()));
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(foundation_.references(), 3);
  first.reset();
  EXPECT_EQ(foundation_.references(), 2);
  EXPECT_FALSE(CFBundleIsExecutableLoaded(second.get()));
}

// Runs itself once more, that time to leave an object behind.
TEST(Leak, FailsTheTestThatLeavesItAndNamesTheCall) {
  if (::getenv("QV_LEAVE_AN_OBJECT") != nullptr) {
    const std::array<UInt8, 2> text{'a', 'b'};
    CFStringCreateWithBytes(kCFAllocatorDefault, text.data(), 2, qv::tests::kLatin1, false);
    return;
  }
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command =
      "QV_LEAVE_AN_OBJECT=1 '" + program + "' --gtest_filter=Leak.* --gtest_color=no 2>&1";
  FILE* const output = ::popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  std::string text;
  for (int character = std::fgetc(output); character != EOF; character = std::fgetc(output))
    text += static_cast<char>(character);
  const int status = ::pclose(output);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
  EXPECT_THAT(text, HasSubstr("never released: CFStringCreateWithBytes 2 513"));
  EXPECT_THAT(text, HasSubstr("[  FAILED  ] Leak."));
}

}  // namespace
