#include "kit/osdep/platform/BundleServices.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "kit/exception/CarbonError.h"
#include "kit/osdep/Bundle.h"
#include "kit/osdep/SharedLibrary.h"
#include "tests/doubles/Plugins.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep::platform;
using qv::kit::WString;
using qv::kit::osdep::Bundle;
using qv::kit::osdep::CarbonError;
using qv::kit::osdep::SharedLibrary;
using qv::tests::CallForInt;
using qv::tests::IsMapped;
using qv::tests::PluginFile;
using qv::tests::TemporaryDirectory;
using testing::Contains;
using testing::ElementsAre;

constexpr std::uint32_t kFrameworks = 0x6672616D;
constexpr std::uint32_t kPrivateFrameworks = 0x7066726D;
/// What a wide string can hold and no text can.
const WString kNoText(1, static_cast<wchar_t>(0x110000));

class AppleBundles : public qv::tests::AppleTest {
 protected:
  AppleBundles() {
    for (const char* folder : {"user", "local", "system", "private", "main"})
      directory_.makeDirectory(folder);
    foundation_.addFolder(-32763, kFrameworks, directory_.path("user"));
    foundation_.addFolder(-32765, kFrameworks, directory_.path("local"));
    foundation_.addFolder(-32766, kFrameworks, directory_.path("system"));
    foundation_.addFolder(-32766, kPrivateFrameworks, directory_.path("private"));
    foundation_.setMainBundle(directory_.path("main"));
  }

  void putBundle(const std::string& name) const {
    directory_.makeDirectory(name);
    std::filesystem::copy_file(PluginFile("qv_plugin"), directory_.path(name + "/code"));
  }

  /// The paths at which bundles were looked for, relative to the directory.
  std::vector<std::string> search() const {
    const std::string prefix = "CFBundleCreate " + directory_.path("");
    std::vector<std::string> paths;
    for (const std::string& call : foundation_.calls()) {
      if (call.rfind(prefix, 0) == 0) paths.push_back(call.substr(prefix.size()));
    }
    return paths;
  }

  const TemporaryDirectory directory_;
};

TEST_F(AppleBundles, AreLookedForInTheFrameworksFoldersInOrder) {
  EXPECT_FALSE(Bundle(L"foo").isOpened());
  EXPECT_THAT(search(), ElementsAre("user/foo.bundle", "local/foo.bundle", "system/foo.bundle",
                                    "private/foo.bundle"));
  EXPECT_THAT(foundation_.calls(), Contains("CFBundleCopyResourceURL foo.bundle"));
}

class AppleBundlePlace : public AppleBundles, public testing::WithParamInterface<const char*> {};

TEST_P(AppleBundlePlace, IsWhereABundleIsFoundThatIsNowhereElse) {
  putBundle(std::string(GetParam()) + "/foo.bundle");
  const Bundle bundle(L"foo");
  ASSERT_TRUE(bundle.isOpened());
  EXPECT_EQ(search().back(), std::string(GetParam()) + "/foo.bundle");
  EXPECT_EQ(CallForInt(bundle.getFunctionPointer(L"qv_plugin_answer", false)), 42);
}

INSTANTIATE_TEST_SUITE_P(AllPlaces, AppleBundlePlace,
                         testing::Values("user", "local", "system", "private", "main"));

TEST_F(AppleBundles, AreFoundByPath) {
  putBundle("foo.bundle");
  const Bundle bundle(directory_.wide("foo"));
  EXPECT_TRUE(bundle.isOpened());
  EXPECT_THAT(foundation_.calls(), Contains("CFURLCreateWithFileSystemPath " +
                                            directory_.path("foo.bundle") + " 0 directory"));
  EXPECT_FALSE(called("FSFindFolder"));
}

TEST_F(AppleBundles, InAStandardFolderAreNamedAsFiles) {
  Bundle bundle(L"");
  bundle.openFromStandardLocation(L"foo", FolderDomain::Local, FolderType::Frameworks);
  EXPECT_THAT(foundation_.calls(), Contains("FSFindFolder -32765 1718772077"));
  EXPECT_THAT(foundation_.calls(), Contains("CFURLCreateFromFSRef " + directory_.path("local")));
  EXPECT_THAT(foundation_.calls(), Contains("CFURLCreateCopyAppendingPathComponent foo file"));
}

TEST_F(AppleBundles, HaveTheirCodeLoadedWithTheFirstFunction) {
  putBundle("foo.bundle");
  {
    const Bundle bundle(directory_.wide("foo"));
    EXPECT_FALSE(bundle.isLoaded());
    EXPECT_NE(bundle.getFunctionPointer(L"qv_plugin_answer", false), nullptr);
    EXPECT_TRUE(bundle.isLoaded());
  }
  EXPECT_FALSE(IsMapped(directory_.path("foo.bundle/code")));
}

TEST_F(AppleBundles, ReportAMissingFunction) {
  putBundle("foo.bundle");
  const Bundle bundle(directory_.wide("foo"));
  EXPECT_EQ(bundle.getFunctionPointer(L"no_such_function", true), nullptr);
  EXPECT_THROW(bundle.getFunctionPointer(L"no_such_function", false), CarbonError);
  EXPECT_EQ(bundle.getFunctionPointer(kNoText, true), nullptr);
}

TEST_F(AppleBundles, AreReleasedWhenAnotherIsOpened) {
  putBundle("foo.bundle");
  putBundle("bar.bundle");
  Bundle bundle(directory_.wide("foo"));
  EXPECT_TRUE(bundle.openFromPath(directory_.wide("bar.bundle")));
  EXPECT_EQ(foundation_.liveObjects(), 1);
}

TEST_F(AppleBundles, CannotHaveNamesThatAreNoText) {
  EXPECT_EQ(CreateUrlFromPath(kNoText), nullptr);
  EXPECT_EQ(CreateUrlInStandardFolder(kNoText, FolderDomain::User, FolderType::Frameworks),
            nullptr);
  EXPECT_EQ(CreateUrlOfMainBundleResource(kNoText), nullptr);
}

TEST_F(AppleBundles, AreNotLookedForInAFolderThatTheSystemLacks) {
  EXPECT_EQ(CreateUrlInStandardFolder(L"foo", FolderDomain::User, FolderType::PrivateFrameworks),
            nullptr);
  EXPECT_FALSE(called("CFURLCreateFromFSRef"));
}

class AppleFailure : public AppleBundles, public testing::WithParamInterface<const char*> {};

TEST_P(AppleFailure, MeansNoBundleInAStandardFolder) {
  putBundle("user/foo");
  foundation_.fail(GetParam());
  Bundle bundle(L"");
  EXPECT_FALSE(bundle.openFromStandardLocation(L"foo", FolderDomain::User, FolderType::Frameworks));
}

INSTANTIATE_TEST_SUITE_P(InAStandardFolder, AppleFailure,
                         testing::Values("CFURLCreateFromFSRef", "CFStringCreateWithBytes",
                                         "CFURLCreateCopyAppendingPathComponent",
                                         "CFBundleCreate"));

TEST_F(AppleBundles, AreNotFoundByAPathThatMakesNoUrl) {
  putBundle("foo.bundle");
  foundation_.fail("CFURLCreateWithFileSystemPath");
  EXPECT_FALSE(Bundle(directory_.wide("foo")).isOpened());
}

TEST_F(AppleBundles, AreNotFoundInAMainBundleThatIsNotThere) {
  qv::tests::TemporaryDirectory elsewhere;
  foundation_.setMainBundle(elsewhere.path());
  EXPECT_EQ(CreateUrlOfMainBundleResource(L"foo"), nullptr);
}

TEST(AppleProgramWithoutAMainBundle, FindsNothingInIt) {
  const qv::tests::CoreFoundationDouble foundation;
  EXPECT_EQ(CreateUrlOfMainBundleResource(L"foo"), nullptr);
  EXPECT_EQ(foundation.liveObjects(), 0);
}

TEST_F(AppleBundles, AreSharedLibraries) {
  putBundle("user/foo.framework");
  SharedLibrary library(L"foo", true, true);
  ASSERT_TRUE(library.isLoaded());
  EXPECT_EQ(CallForInt(library.getFunctionPointer("qv_plugin_answer", false)), 42);
  const SharedLibrary copy(library);
  library.unload();
  EXPECT_EQ(CallForInt(copy.getFunctionPointer(L"qv_plugin_answer", false)), 42);
}

TEST_F(AppleBundles, ComeBeforeADynamicLibrary) {
  std::filesystem::copy_file(PluginFile("qv_plugin"), directory_.path("libfoo.dylib"));
  const SharedLibrary dynamic(directory_.wide("foo"), true, true);
  EXPECT_THAT(search(), ElementsAre("foo.framework", "foo.bundle"));
  EXPECT_TRUE(dynamic.isLoaded());
  EXPECT_EQ(foundation_.liveObjects(), 0);
  putBundle("foo.bundle");
  const SharedLibrary bundle(directory_.wide("foo"), true, true);
  EXPECT_TRUE(bundle.isLoaded());
  EXPECT_EQ(foundation_.liveObjects(), 1);
}

}  // namespace
