#include "kit/osdep/SharedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "kit/exception/CarbonError.h"
#include "kit/exception/InvalidOperation.h"
#include "kit/osdep/Bundle.h"
#include "tests/doubles/ObjectLayout.h"
#include "tests/doubles/Plugins.h"
#include "tests/doubles/ScriptedBundleServices.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::WString;
using qv::kit::exception::InvalidOperation;
using qv::kit::osdep::Bundle;
using qv::kit::osdep::CarbonError;
using qv::kit::osdep::SharedLibrary;
using qv::tests::CallForInt;
using qv::tests::Exactly;
using qv::tests::LayoutOf;
using qv::tests::PluginFile;
using qv::tests::ScriptedBundleServices;
using qv::tests::TemporaryDirectory;
using qv::tests::TextOf;
using testing::ElementsAre;

class LibrarySearch : public testing::Test {
 protected:
  ~LibrarySearch() override {
    EXPECT_EQ(services_.openBundles(), 0) << "a bundle was never released, or twice";
    EXPECT_EQ(services_.openUrls(), 0) << "a place was never released, or twice";
  }

  void putDynamicLibrary(const std::string& name) const {
    std::filesystem::copy_file(PluginFile("qv_plugin"), directory_.path(name));
  }

  ScriptedBundleServices services_;
  const TemporaryDirectory directory_;
  int code_ = 0;
};

TEST_F(LibrarySearch, TriesAFrameworkThenABundleThenTheDynamicLibrary) {
  putDynamicLibrary("libfoo.dylib");
  const SharedLibrary library(directory_.wide("foo"), true, true);
  const std::wstring foo = Exactly(directory_.wide("foo"));
  EXPECT_THAT(services_.places(),
              ElementsAre(L"path " + foo + L".framework", L"main bundle " + foo + L".framework",
                          L"path " + foo + L".bundle", L"main bundle " + foo + L".bundle"));
  ASSERT_TRUE(library.isLoaded());
  EXPECT_EQ(CallForInt(library.getFunctionPointer("qv_plugin_answer", false)), 42);
  EXPECT_FALSE(LayoutOf<SharedLibraryLayout>(library).isBundle);
}

TEST_F(LibrarySearch, GoesThroughAllPlacesForABareName) {
  const SharedLibrary library(L"no_such_library", true, true);
  EXPECT_FALSE(library.isLoaded());
  EXPECT_THAT(services_.places(),
              ElementsAre(L"user frameworks no_such_library.framework",
                          L"local frameworks no_such_library.framework",
                          L"system frameworks no_such_library.framework",
                          L"system private frameworks no_such_library.framework",
                          L"main bundle no_such_library.framework",
                          L"user frameworks no_such_library.bundle",
                          L"local frameworks no_such_library.bundle",
                          L"system frameworks no_such_library.bundle",
                          L"system private frameworks no_such_library.bundle",
                          L"main bundle no_such_library.bundle"));
}

TEST_F(LibrarySearch, TriesAFullFileNameThreeTimesAsItIs) {
  putDynamicLibrary("libeay32.dylib");
  const SharedLibrary library(directory_.wide("libeay32.dylib"), true, true);
  const std::wstring name = Exactly(directory_.wide("libeay32.dylib"));
  EXPECT_THAT(services_.places(), ElementsAre(L"path " + name, L"main bundle " + name,
                                              L"path " + name, L"main bundle " + name));
  EXPECT_TRUE(library.isLoaded());
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).loadedPath), name);
}

TEST_F(LibrarySearch, LooksForNothingWithoutAName) {
  const SharedLibrary library(L"", true, true);
  EXPECT_TRUE(services_.places().empty());
}

TEST_F(LibrarySearch, PrefersAFrameworkToABundleToADynamicLibrary) {
  putDynamicLibrary("libfoo.dylib");
  const std::wstring foo = Exactly(directory_.wide("foo"));
  services_.addBundle(L"path " + foo + L".bundle");
  SharedLibrary bundle(directory_.wide("foo"), true, true);
  EXPECT_TRUE(LayoutOf<SharedLibraryLayout>(bundle).isBundle);
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(bundle).loadedPath), foo + L".bundle");

  services_.addBundle(L"main bundle " + foo + L".framework");
  SharedLibrary framework(directory_.wide("foo"), true, true);
  EXPECT_TRUE(LayoutOf<SharedLibraryLayout>(framework).isBundle);
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(framework).loadedPath), foo + L".framework");
}

class BundleAsLibrary : public LibrarySearch {
 protected:
  BundleAsLibrary() {
    services_.addBundle(L"user frameworks foo.framework");
    services_.addFunction(L"answer", &code_);
  }
};

TEST_F(BundleAsLibrary, IsLoadedWhenTheBundleIsOpenWhetherOrNotItsCodeIs) {
  const SharedLibrary library(L"foo", true, true);
  EXPECT_TRUE(library.isLoaded());
  EXPECT_TRUE(services_.functions().empty());
}

TEST_F(BundleAsLibrary, GivesFunctionsByNarrowAndByWideName) {
  const SharedLibrary library(L"foo", true, true);
  EXPECT_EQ(library.getFunctionPointer("answer", false), &code_);
  EXPECT_EQ(library.getFunctionPointer(L"answer", false), &code_);
  EXPECT_THAT(services_.functions(), ElementsAre(L"answer", L"answer"));
}

/// Expects the error of a bundle that has no such function.
template <typename NameT>
void ExpectCarbonError(const SharedLibrary& library, NameT name) {
  EXPECT_EQ(library.getFunctionPointer(name, true), nullptr);
  try {
    library.getFunctionPointer(name, false);
    FAIL();
  } catch (const CarbonError& error) {
    EXPECT_EQ(error.whatcode(), 0xFFFFFFFFU);
    EXPECT_STREQ(error.what(), "Unknown error code");
  }
}

TEST_F(BundleAsLibrary, ThrowsCarbonErrorForAMissingFunction) {
  const SharedLibrary library(L"foo", true, true);
  ExpectCarbonError(library, "question");
  ExpectCarbonError(library, L"question");
}

TEST_F(BundleAsLibrary, ThrowsCarbonErrorForAnyFunctionOnceUnloaded) {
  SharedLibrary library(L"foo", true, true);
  library.unload();
  ExpectCarbonError(library, "answer");
  ExpectCarbonError(library, L"answer");
}

TEST_F(BundleAsLibrary, IsReleasedByUnload) {
  SharedLibrary library(L"foo", true, true);
  EXPECT_EQ(services_.openBundles(), 1);
  library.unload();
  EXPECT_EQ(services_.openBundles(), 0);
  EXPECT_FALSE(library.isLoaded());
  EXPECT_THROW(library.load(L"foo"), InvalidOperation);
}

TEST_F(BundleAsLibrary, IsOpenedOnceMoreForEachCopy) {
  SharedLibrary library(L"foo", true, true);
  const SharedLibrary copy(library);
  EXPECT_EQ(services_.openBundles(), 2);
  library.unload();
  EXPECT_EQ(copy.getFunctionPointer("answer", false), &code_);
}

TEST_F(BundleAsLibrary, ThrowsCarbonErrorFromACopyThatWasMadeOnceUnloaded) {
  SharedLibrary library(L"foo", true, true);
  library.unload();
  const SharedLibrary copy(library);
  EXPECT_FALSE(copy.isLoaded());
  EXPECT_EQ(services_.openBundles(), 0);
  ExpectCarbonError(copy, "answer");
  ExpectCarbonError(copy, L"answer");
}

TEST_F(BundleAsLibrary, IsUnloadedInACopyThatFindsItGone) {
  SharedLibrary library(L"foo", true, true);
  services_.withhold(L"user frameworks foo.framework");
  SharedLibrary copy(library);
  EXPECT_TRUE(library.isLoaded());
  EXPECT_FALSE(copy.isLoaded());
  EXPECT_EQ(services_.openBundles(), 1);
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(copy).loadedPath), L"foo.framework");
  EXPECT_EQ(LayoutOf<SharedLibraryLayout>(copy).handle, nullptr);
  EXPECT_THROW(copy.load(L"foo"), InvalidOperation);
  ExpectCarbonError(copy, "answer");
}

TEST_F(BundleAsLibrary, StaysOpenAfterDestructionWhereUnloadingWasNotAskedFor) {
  const void* bundle = nullptr;
  {
    const SharedLibrary library(L"foo", false, true);
    bundle = LayoutOf<SharedLibraryLayout>(library).handle;
  }
  ASSERT_EQ(services_.openBundles(), 1);
  delete static_cast<const Bundle*>(bundle);
}

TEST_F(BundleAsLibrary, IsSwappedWithADynamicLibrary) {
  putDynamicLibrary("libfoo.dylib");
  SharedLibrary bundle(L"foo", true, true);
  SharedLibrary dynamic(directory_.wide("foo"), true, true);
  bundle.swap(dynamic);
  EXPECT_EQ(CallForInt(bundle.getFunctionPointer("qv_plugin_answer", false)), 42);
  EXPECT_EQ(dynamic.getFunctionPointer("answer", false), &code_);
}

TEST_F(LibrarySearch, ADynamicLibraryMayTakeThePlaceOfABundleThatIsGone) {
  const std::wstring foo = Exactly(directory_.wide("foo"));
  services_.addBundle(L"path " + foo + L".bundle");
  SharedLibrary library(directory_.wide("foo"), true, true);
  ASSERT_TRUE(LayoutOf<SharedLibraryLayout>(library).isBundle);
  library.unload();
  services_.withhold(L"path " + foo + L".bundle");
  putDynamicLibrary("libfoo.dylib");
  library.load();
  ASSERT_TRUE(library.isLoaded());
  EXPECT_FALSE(LayoutOf<SharedLibraryLayout>(library).isBundle);
  EXPECT_EQ(CallForInt(library.getFunctionPointer("qv_plugin_answer", false)), 42);
}

}  // namespace
