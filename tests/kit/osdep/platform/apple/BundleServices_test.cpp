#include "kit/osdep/platform/BundleServices.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

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
  EXPECT_EQ(foundation_.calls().back(), "CFBundleCopyResourceURL foo.bundle");
}

TEST_F(AppleBundles, AreInNoStandardFolderWhoseStatusIsNotZero) {
  putBundle("user/foo.bundle");
  foundation_.fail("FSFindFolder", 1);
  EXPECT_FALSE(Bundle(L"foo").isOpened());
  EXPECT_FALSE(called("CFURLCreateFromFSRef"));
}

/// A folder in which a bundle lies, and the calls that look for one there.
struct Place {
  const char* folder;
  std::vector<std::string> calls;
};

void PrintTo(const Place& place, std::ostream* stream) {
  *stream << place.folder;
}

class AppleBundlePlace : public AppleBundles, public testing::WithParamInterface<Place> {
 protected:
  AppleBundlePlace() { putBundle(std::string(GetParam().folder) + "/foo.bundle"); }
};

TEST_P(AppleBundlePlace, IsWhereABundleIsFoundThatIsNowhereElse) {
  const Bundle bundle(L"foo");
  ASSERT_TRUE(bundle.isOpened());
  EXPECT_EQ(search().back(), std::string(GetParam().folder) + "/foo.bundle");
  EXPECT_EQ(CallForInt(bundle.getFunctionPointer(L"qv_plugin_answer", false)), 42);
}

TEST_P(AppleBundlePlace, IsMissedWhereOneOfItsCallsFailsAndNotWhereAnotherOneDoes) {
  std::vector<std::string> missed;
  withEachCallFailing([&] {
    const Bundle bundle(L"foo");
    if (!bundle.isOpened()) missed.push_back(foundation_.failedCall());
  });
  std::vector<testing::Matcher<std::string>> expected;
  for (const std::string& call : GetParam().calls)
    expected.emplace_back(testing::StartsWith(call));
  EXPECT_THAT(missed, testing::ElementsAreArray(expected));
}

Place StandardFolder(const char* folder, const char* codes) {
  return {folder,
          {std::string("FSFindFolder ") + codes, "CFURLCreateFromFSRef", "CFStringCreateWithBytes",
           "CFURLCreateCopyAppendingPathComponent", "CFBundleCreate"}};
}

INSTANTIATE_TEST_SUITE_P(AllPlaces, AppleBundlePlace,
                         testing::Values(StandardFolder("user", "-32763 1718772077"),
                                         StandardFolder("local", "-32765 1718772077"),
                                         StandardFolder("system", "-32766 1718772077"),
                                         StandardFolder("private", "-32766 1885762157"),
                                         Place{"main",
                                               {"CFBundleGetMainBundle", "CFStringCreateWithBytes",
                                                "CFBundleCopyResourceURL", "CFBundleCreate"}}),
                         [](const testing::TestParamInfo<Place>& place) {
                           return place.param.folder;
                         });

TEST_F(AppleBundles, AreFoundByPath) {
  putBundle("foo.bundle");
  const Bundle bundle(directory_.wide("foo"));
  EXPECT_TRUE(bundle.isOpened());
  EXPECT_THAT(foundation_.calls(), Contains("CFURLCreateWithFileSystemPath " +
                                            directory_.path("foo.bundle") + " 0 directory"));
  EXPECT_FALSE(called("FSFindFolder"));
}

TEST_F(AppleBundles, AreMissedWhereACallForTheirPathFails) {
  putBundle("foo.bundle");
  const int calls = withEachCallFailing([&] {
    const Bundle bundle(directory_.wide("foo"));
    EXPECT_EQ(bundle.isOpened(), !hasFailed());
  });
  EXPECT_EQ(calls, 3) << "a string, a place and a bundle";
}

TEST_F(AppleBundles, InAStandardFolderAreNamedAsFiles) {
  EXPECT_NE(CreateUrlInStandardFolder(L"foo", FolderDomain::Local, FolderType::Frameworks),
            nullptr);
  EXPECT_THAT(foundation_.calls(), ElementsAre("FSFindFolder -32765 1718772077",
                                               "CFURLCreateFromFSRef " + directory_.path("local"),
                                               "CFStringCreateWithBytes 12 469762304",
                                               "CFURLCreateCopyAppendingPathComponent foo file"));
}

TEST_F(AppleBundles, HaveTheirCodeLoadedWithTheFirstFunction) {
  putBundle("foo.bundle");
  {
    const Bundle bundle(directory_.wide("foo"));
    EXPECT_FALSE(bundle.isLoaded());
    EXPECT_NE(bundle.getFunctionPointer(L"qv_plugin_answer", false), nullptr);
    EXPECT_TRUE(bundle.isLoaded());
    foundation_.fail("CFBundleIsExecutableLoaded");
    EXPECT_FALSE(bundle.isLoaded());
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

TEST_F(AppleBundles, ReportAMissingFunctionWhereACallForItFails) {
  putBundle("foo.bundle");
  const Bundle bundle(directory_.wide("foo"));
  const int calls = withEachCallFailing([&] {
    const void* function = bundle.getFunctionPointer(L"qv_plugin_answer", true);
    EXPECT_EQ(function == nullptr, hasFailed());
  });
  EXPECT_EQ(calls, 2) << "a string and the function";
  withEachCallFailing([&] {
    try {
      bundle.getFunctionPointer(L"qv_plugin_answer", false);
      EXPECT_FALSE(hasFailed());
    } catch (const CarbonError& error) {
      EXPECT_TRUE(hasFailed());
      EXPECT_EQ(error.whatcode(), 0xFFFFFFFFU);
    }
  });
}

TEST_F(AppleBundles, WithoutCodeHaveNoFunctions) {
  directory_.makeDirectory("foo.bundle");
  const Bundle bundle(directory_.wide("foo"));
  EXPECT_TRUE(bundle.isOpened());
  EXPECT_EQ(bundle.getFunctionPointer(L"qv_plugin_answer", true), nullptr);
  EXPECT_FALSE(bundle.isLoaded());
}

TEST_F(AppleBundles, AreReleasedWhenAnotherIsOpened) {
  putBundle("foo.bundle");
  putBundle("bar.bundle");
  Bundle bundle(directory_.wide("foo"));
  EXPECT_TRUE(bundle.openFromPath(directory_.wide("bar.bundle")));
  EXPECT_EQ(foundation_.references(), 1);
}

TEST_F(AppleBundles, AreKeptWhenTheyAreOpenedOnceMore) {
  putBundle("foo.bundle");
  Bundle bundle(directory_.wide("foo"));
  void* const answer = bundle.getFunctionPointer(L"qv_plugin_answer", false);
  EXPECT_TRUE(bundle.openFromPath(directory_.wide("foo.bundle")));
  EXPECT_TRUE(bundle.isLoaded());
  EXPECT_EQ(CallForInt(answer), 42);
  EXPECT_EQ(foundation_.references(), 1);
}

TEST_F(AppleBundles, CannotHaveNamesThatAreNoText) {
  EXPECT_EQ(CreateUrlFromPath(kNoText), nullptr);
  EXPECT_EQ(CreateUrlInStandardFolder(kNoText, FolderDomain::User, FolderType::Frameworks),
            nullptr);
  EXPECT_EQ(CreateUrlOfMainBundleResource(kNoText), nullptr);
}

TEST_F(AppleBundles, AreNotFoundByANameThatGoesOnBehindAZeroCharacter) {
  const WString rest(L"\0rest", 5);
  for (const char* name : {"foo.bundle", "user/foo.bundle", "main/foo.bundle"})
    putBundle(name);
  EXPECT_FALSE(Bundle(directory_.wide("foo.bundle") + rest).isOpened());
  EXPECT_FALSE(Bundle(L"foo.bundle" + rest).isOpened());
  const Bundle bundle(directory_.wide("foo.bundle"));
  EXPECT_EQ(bundle.getFunctionPointer(L"qv_plugin_answer" + rest, true), nullptr);
}

TEST_F(AppleBundles, AreNotLookedForInAFolderThatTheSystemLacks) {
  EXPECT_EQ(CreateUrlInStandardFolder(L"foo", FolderDomain::User, FolderType::PrivateFrameworks),
            nullptr);
  EXPECT_FALSE(called("CFURLCreateFromFSRef"));
}

TEST_F(AppleBundles, AreNotFoundInAMainBundleThatDoesNotHoldThem) {
  EXPECT_EQ(CreateUrlOfMainBundleResource(L"foo"), nullptr);
  EXPECT_TRUE(called("CFBundleCopyResourceURL foo"));
}

class AppleProgramWithoutAMainBundle : public qv::tests::AppleTest {};

TEST_F(AppleProgramWithoutAMainBundle, FindsNothingInIt) {
  EXPECT_EQ(CreateUrlOfMainBundleResource(L"foo"), nullptr);
  EXPECT_FALSE(called("CFBundleCopyResourceURL"));
}

TEST_F(AppleBundles, AreSharedLibraries) {
  putBundle("user/foo.framework");
  SharedLibrary library(L"foo", true, true);
  ASSERT_TRUE(library.isLoaded());
  EXPECT_EQ(CallForInt(library.getFunctionPointer("qv_plugin_answer", false)), 42);
  const SharedLibrary copy(library);
  EXPECT_EQ(foundation_.references(), 2);
  library.unload();
  EXPECT_EQ(foundation_.references(), 1);
  EXPECT_EQ(CallForInt(copy.getFunctionPointer(L"qv_plugin_answer", false)), 42);
}

TEST_F(AppleBundles, AreFrameworksBeforeTheyAreBundles) {
  putBundle("local/foo.bundle");
  const SharedLibrary bundle(L"foo", true, true);
  EXPECT_THAT(search(),
              ElementsAre("user/foo.framework", "local/foo.framework", "system/foo.framework",
                          "private/foo.framework", "user/foo.bundle", "local/foo.bundle"));
  putBundle("private/foo.framework");
  const SharedLibrary framework(L"foo", true, true);
  EXPECT_EQ(search().back(), "private/foo.framework");
}

TEST_F(AppleBundles, ComeBeforeADynamicLibrary) {
  std::filesystem::copy_file(PluginFile("qv_plugin"), directory_.path("libfoo.dylib"));
  const SharedLibrary dynamic(directory_.wide("foo"), true, true);
  EXPECT_THAT(search(), ElementsAre("foo.framework", "foo.bundle"));
  EXPECT_TRUE(dynamic.isLoaded());
  EXPECT_EQ(foundation_.references(), 0);
  putBundle("foo.bundle");
  const SharedLibrary bundle(directory_.wide("foo"), true, true);
  EXPECT_TRUE(bundle.isLoaded());
  EXPECT_EQ(foundation_.references(), 1);
}

TEST_F(AppleBundles, ThatLieInTwoPlacesAreFoundWhicheverCallFails) {
  putBundle("local/foo.framework");
  putBundle("main/foo.bundle");
  const int calls = withEachCallFailing([&] {
    const SharedLibrary library(L"foo", true, true);
    EXPECT_TRUE(library.isLoaded()) << foundation_.failedCall();
  });
  EXPECT_EQ(calls, 10) << "five for each of the two folders that are looked at when all is well";
}

TEST_F(AppleBundles, AreNoneForALibraryWithAFileNameOfItsOwn) {
  std::filesystem::copy_file(PluginFile("qv_plugin"), directory_.path("libeay32.dylib"));
  const int calls = withEachCallFailing([&] {
    const SharedLibrary library(directory_.wide("libeay32.dylib"), true, true);
    EXPECT_TRUE(library.isLoaded()) << foundation_.failedCall();
    EXPECT_EQ(CallForInt(library.getFunctionPointer("qv_plugin_answer", false)), 42);
  });
  EXPECT_EQ(calls, 12) << "by its path and in the main bundle, and both once more";
}

}  // namespace
