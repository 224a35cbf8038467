#include "kit/osdep/SharedLibrary.h"

#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <string>
#include <utility>

#include "kit/exception/InvalidOperation.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/NeedsDecoration.h"
#include "tests/doubles/ObjectLayout.h"
#include "tests/doubles/Plugins.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::String;
using qv::kit::WString;
using qv::kit::exception::InvalidOperation;
using qv::kit::osdep::NeedsDecoration;
using qv::kit::osdep::PosixError;
using qv::kit::osdep::SharedLibrary;
using qv::tests::CallForInt;
using qv::tests::Exactly;
using qv::tests::IsMapped;
using qv::tests::LayoutOf;
using qv::tests::PluginFile;
using qv::tests::TemporaryDirectory;
using qv::tests::TextOf;

/// A directory with copies of a small library, which nothing else has loaded.
class SharedLibraryTest : public testing::Test {
 protected:
  void put(const std::string& name) const {
    const std::string file = directory_.path(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::filesystem::copy_file(PluginFile("qv_plugin"), file);
  }

  const TemporaryDirectory directory_;
};

TEST(SharedLibrary, BuiltWithoutANameIsUnloadedAndWillUnloadOnDestruction) {
  const SharedLibrary library;
  EXPECT_FALSE(library.isLoaded());
  const auto layout = LayoutOf<SharedLibraryLayout>(library);
  EXPECT_EQ(TextOf(layout.loadedPath), L"");
  EXPECT_EQ(layout.handle, nullptr);
  EXPECT_TRUE(layout.unloadOnDestruction);
  EXPECT_FALSE(layout.reservedFlag);
  EXPECT_EQ(TextOf(layout.requestedName), L"");
  EXPECT_FALSE(layout.isBundle);
}

TEST(SharedLibrary, BuiltWithAnEmptyNameStaysUnloadedAndFindsNoFunction) {
  for (const SharedLibrary& library :
       {SharedLibrary(L"", true, true), SharedLibrary("", true, true)}) {
    EXPECT_FALSE(library.isLoaded());
    EXPECT_EQ(library.getFunctionPointer("qv_plugin_answer", true), nullptr);
    EXPECT_EQ(library.getFunctionPointer(L"qv_plugin_answer", true), nullptr);
  }
}

TEST(NeedsDecoration, IsTrueWhereTheLastComponentHasNoDot) {
  EXPECT_TRUE(NeedsDecoration(L"foo"));
  EXPECT_TRUE(NeedsDecoration(L"a.b/foo"));
  EXPECT_FALSE(NeedsDecoration(L"foo.dylib"));
  EXPECT_FALSE(NeedsDecoration(WString()));
}

TEST_F(SharedLibraryTest, LoadsAFileByItsFullName) {
  put("libeay32.dylib");
  const SharedLibrary library(directory_.wide("libeay32.dylib"), true, true);
  ASSERT_TRUE(library.isLoaded());
  EXPECT_EQ(CallForInt(library.getFunctionPointer("qv_plugin_answer", false)), 42);
}

TEST_F(SharedLibraryTest, TakesANarrowNameToo) {
  put("libfoo.dylib");
  const SharedLibrary byPointer(directory_.path("foo").c_str(), true, true);
  EXPECT_TRUE(byPointer.isLoaded());
  const SharedLibrary byString(String(directory_.path("foo").c_str()), true, true);
  EXPECT_TRUE(byString.isLoaded());
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(byString).requestedName),
            Exactly(directory_.wide("foo")));
}

TEST_F(SharedLibraryTest, TakesANameOutsideAsciiInTheEncodingOfTheLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  put("libf\xC3\xBC.dylib");
  const SharedLibrary library(directory_.wide() + L"/f\u00FC", true, true);
  std::setlocale(LC_ALL, "C");
  EXPECT_TRUE(library.isLoaded());
}

TEST_F(SharedLibraryTest, DecoratesTheLastComponentOfAPathOnly) {
  put("dir/libfoo.dylib");
  put("dir.d/libbar.dylib");
  EXPECT_TRUE(SharedLibrary(directory_.wide("dir/foo"), true, true).isLoaded());
  EXPECT_TRUE(SharedLibrary(directory_.wide("dir.d/bar"), true, true).isLoaded());
}

TEST_F(SharedLibraryTest, TakesANameWithADotAsItIs) {
  put("libfoo.1.dylib");
  EXPECT_FALSE(SharedLibrary(directory_.wide("foo.1"), true, true).isLoaded());
  put("foo.1");
  EXPECT_TRUE(SharedLibrary(directory_.wide("foo.1"), true, true).isLoaded());
}

TEST(SharedLibrary, DecoratesARelativePathWithoutMakingItAbsolute) {
  const TemporaryDirectory directory;
  directory.makeDirectory("dir");
  std::filesystem::copy_file(PluginFile("qv_plugin"), directory.path("dir/libfoo.dylib"));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  const SharedLibrary library(L"dir/foo", true, true);
  std::filesystem::current_path(before);
  ASSERT_TRUE(library.isLoaded());
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).loadedPath), L"dir/libfoo.dylib");
}

TEST(SharedLibrary, LeavesABareNameToTheSearchOfTheDynamicLoader) {
  const SharedLibrary library(L"qv_plugin", true, true);
  ASSERT_TRUE(library.isLoaded());
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).loadedPath), L"libqv_plugin.dylib");
}

TEST(SharedLibrary, CompletesNoNameInPublic) {
  EXPECT_EQ(Exactly(SharedLibrary::decorateName(L"dir/foo")), L"dir/foo");
}

TEST_F(SharedLibraryTest, StaysUnloadedWithoutAnExceptionWhenThereIsNoSuchLibrary) {
  const SharedLibrary library(directory_.wide("absent"), true, true);
  EXPECT_FALSE(library.isLoaded());
  EXPECT_EQ(library.getFunctionPointer("qv_plugin_answer", true), nullptr);
  const auto layout = LayoutOf<SharedLibraryLayout>(library);
  EXPECT_EQ(TextOf(layout.loadedPath), L"");
  EXPECT_EQ(TextOf(layout.requestedName), Exactly(directory_.wide("absent")));
}

TEST_F(SharedLibraryTest, StaysUnloadedWhenTheFileIsNoLibrary) {
  directory_.write("libfoo.dylib", "no code");
  EXPECT_FALSE(SharedLibrary(directory_.wide("foo"), true, true).isLoaded());
}

TEST_F(SharedLibraryTest, DoesNotTakeANullCharacterForTheEndOfTheName) {
  put("libfoo.dylib");
  WString name = directory_.wide("libfoo.dylib");
  name += L'\0';
  name += L"more";
  EXPECT_FALSE(SharedLibrary(name, true, true).isLoaded());
}

TEST(SharedLibrary, IsOpenedForTheLibrariesThatFollowToSee) {
  const SharedLibrary provider(PluginFile("qv_provider").c_str(), true, true);
  const SharedLibrary consumer(PluginFile("qv_consumer").c_str(), true, true);
  ASSERT_TRUE(consumer.isLoaded());
  EXPECT_EQ(CallForInt(consumer.getFunctionPointer("qv_consumer_value", false)), 8);
}

TEST(SharedLibrary, IsNotOpenedUnlessAllThatItNeedsIsThere) {
  EXPECT_FALSE(SharedLibrary(PluginFile("qv_consumer").c_str(), true, true).isLoaded());
}

TEST_F(SharedLibraryTest, FindsAFunctionByNarrowAndByWideName) {
  const SharedLibrary library(L"qv_plugin", true, true);
  void* function = library.getFunctionPointer("qv_plugin_answer", false);
  ASSERT_NE(function, nullptr);
  EXPECT_EQ(library.getFunctionPointer(L"qv_plugin_answer", false), function);
  EXPECT_EQ(library.getFunctionPointer(String("qv_plugin_answer"), false), function);
  EXPECT_EQ(library.getFunctionPointer(WString(L"qv_plugin_answer"), true), function);
}

/// Expects a PosixError with code 0 and returns its text.
template <typename NameT>
std::string LookUpError(const SharedLibrary& library, NameT name) {
  try {
    library.getFunctionPointer(name, false);
    ADD_FAILURE() << "nothing thrown";
  } catch (const PosixError& error) {
    EXPECT_EQ(error.whatcode(), 0U);
    EXPECT_EQ(error.getErrorCode(), 0);
    EXPECT_NE(error.file(), nullptr);
    return error.what();
  }
  return "";
}

TEST(SharedLibrary, ThrowsTheTextOfTheLoaderWhenAFunctionIsMissing) {
  const SharedLibrary library(L"qv_plugin", true, true);
  void* handle = ::dlopen(PluginFile("qv_plugin").c_str(), RTLD_NOW);
  EXPECT_EQ(::dlsym(handle, "qv_plugin_no_such_function"), nullptr);
  const std::string expected = ::dlerror();
  ::dlclose(handle);
  EXPECT_EQ(LookUpError(library, "qv_plugin_no_such_function"), expected);
  EXPECT_EQ(LookUpError(library, L"qv_plugin_no_such_function"), expected);
}

TEST(SharedLibrary, GivesNullForAMissingFunctionOnRequest) {
  const SharedLibrary library(L"qv_plugin", true, true);
  EXPECT_EQ(library.getFunctionPointer("qv_plugin_no_such_function", true), nullptr);
  EXPECT_EQ(library.getFunctionPointer(L"qv_plugin_no_such_function", true), nullptr);
  EXPECT_EQ(library.getFunctionPointer("", true), nullptr);
}

TEST(SharedLibrary, TakesASymbolWithAValueOfNullForMissing) {
  const SharedLibrary library(L"qv_plugin", true, true);
  EXPECT_EQ(library.getFunctionPointer("qv_plugin_null", true), nullptr);
  EXPECT_EQ(LookUpError(library, "qv_plugin_null"), "Unknown error");
}

TEST(SharedLibrary, DoesNotBlameAnEarlierFailureForASymbolWithAValueOfNull) {
  const SharedLibrary library(L"qv_plugin", true, true);
  EXPECT_EQ(::dlopen("/no/such/library", RTLD_NOW), nullptr);
  EXPECT_EQ(LookUpError(library, "qv_plugin_null"), "Unknown error");
}

TEST(SharedLibrary, DoesNotTakeANullCharacterForTheEndOfASymbol) {
  const SharedLibrary library(L"qv_plugin", true, true);
  const String name("qv_plugin_answer\0more", 21);
  EXPECT_EQ(library.getFunctionPointer(name, true), nullptr);
  EXPECT_EQ(library.getFunctionPointer(WString(name), true), nullptr);
}

TEST(SharedLibrary, DoesNotBlameAnEarlierFailureForASymbolWithANullCharacter) {
  const SharedLibrary library(L"qv_plugin", true, true);
  EXPECT_EQ(::dlopen("/no/such/library", RTLD_NOW), nullptr);
  EXPECT_EQ(LookUpError(library, String("qv_plugin_answer\0more", 21)), "Unknown error");
}

TEST(SharedLibrary, WithNothingLoadedThrowsWhatTheLoaderSaidOfTheFailedLoad) {
  const SharedLibrary library(L"/no/such/library.dylib", true, true);
  EXPECT_NE(LookUpError(library, "qv_plugin_answer").find("/no/such/library.dylib"),
            std::string::npos);
}

TEST(SharedLibrary, WithNothingLoadedAndNothingSaidThrowsUnknownError) {
  const SharedLibrary library;
  ::dlerror();
  EXPECT_EQ(LookUpError(library, "qv_plugin_answer"), "Unknown error");
  EXPECT_EQ(LookUpError(library, L"qv_plugin_answer"), "Unknown error");
}

TEST_F(SharedLibraryTest, UnloadLetsGoOfTheLibraryAndKeepsTheLoadedPath) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), true, true);
  ASSERT_TRUE(IsMapped(directory_.path("libfoo.dylib")));
  library.unload();
  EXPECT_FALSE(library.isLoaded());
  EXPECT_FALSE(IsMapped(directory_.path("libfoo.dylib")));
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).loadedPath),
            Exactly(directory_.wide("libfoo.dylib")));
  EXPECT_EQ(library.getFunctionPointer("qv_plugin_answer", true), nullptr);
}

TEST(SharedLibrary, UnloadMayBeCalledWithNothingLoaded) {
  SharedLibrary library;
  library.unload();
  library.unload();
  EXPECT_FALSE(library.isLoaded());
}

TEST_F(SharedLibraryTest, LoadsTheRequestedNameAgainAfterUnload) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), true, true);
  library.unload();
  library.load();
  EXPECT_TRUE(library.isLoaded());
}

TEST_F(SharedLibraryTest, LoadFindsALibraryThatWasMissingBefore) {
  SharedLibrary library(directory_.wide("foo"), true, true);
  ASSERT_FALSE(library.isLoaded());
  put("libfoo.dylib");
  library.load();
  EXPECT_TRUE(library.isLoaded());
}

TEST_F(SharedLibraryTest, LoadOfALoadedLibraryTakesNoSecondReference) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), true, true);
  library.load();
  library.unload();
  EXPECT_FALSE(IsMapped(directory_.path("libfoo.dylib")));
}

TEST(SharedLibrary, LoadWithoutARequestedNameDoesNothing) {
  SharedLibrary library;
  library.load();
  EXPECT_FALSE(library.isLoaded());
}

TEST_F(SharedLibraryTest, LoadWithANameLoadsIt) {
  put("libfoo.dylib");
  SharedLibrary library;
  library.load(directory_.wide("foo"));
  EXPECT_TRUE(library.isLoaded());
}

TEST_F(SharedLibraryTest, LoadWithANameMayBeTriedUntilOneLoads) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("absent"), true, true);
  library.load(directory_.wide("absent too"));
  EXPECT_FALSE(library.isLoaded());
  library.load(directory_.wide("foo"));
  EXPECT_TRUE(library.isLoaded());
}

TEST_F(SharedLibraryTest, LoadWithANameThrowsOnceALibraryWasLoadedAlsoAfterUnload) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), true, true);
  EXPECT_THROW(library.load(directory_.wide("foo")), InvalidOperation);
  EXPECT_TRUE(library.isLoaded());
  library.unload();
  try {
    library.load(L"other");
    FAIL();
  } catch (const InvalidOperation& error) {
    EXPECT_STREQ(error.what(), "Invalid operation");
    EXPECT_EQ(error.getErrorCode(), -1967362034);
  }
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).requestedName),
            Exactly(directory_.wide("foo")));
}

TEST(SharedLibrary, LoadWithANameCallsTheVirtualLoad) {
  struct Counting : SharedLibrary {
    using SharedLibrary::load;
    void load() override { ++loads; }
    int loads = 0;
  } library;
  static_cast<SharedLibrary&>(library).load(L"foo");
  EXPECT_EQ(library.loads, 1);
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout, SharedLibrary>(library).requestedName), L"foo");
}

TEST_F(SharedLibraryTest, DestructionUnloadsOnlyWhereThatWasAskedFor) {
  put("libfoo.dylib");
  { const SharedLibrary library(directory_.wide("foo"), true, false); }
  EXPECT_FALSE(IsMapped(directory_.path("libfoo.dylib")));
  { const SharedLibrary library(directory_.wide("foo"), false, false); }
  EXPECT_TRUE(IsMapped(directory_.path("libfoo.dylib")));
}

TEST_F(SharedLibraryTest, EachCopyHoldsItsOwnReference) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), true, true);
  SharedLibrary copy(library);
  library.unload();
  ASSERT_TRUE(copy.isLoaded());
  EXPECT_EQ(CallForInt(copy.getFunctionPointer("qv_plugin_answer", false)), 42);
  copy.unload();
  EXPECT_FALSE(IsMapped(directory_.path("libfoo.dylib")));
}

TEST_F(SharedLibraryTest, ACopyOfAnUnloadedObjectHasItsNamesAndFlagsAndLoadsNothing) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), false, true);
  library.unload();
  SharedLibrary copy(library);
  EXPECT_FALSE(copy.isLoaded());
  EXPECT_FALSE(IsMapped(directory_.path("libfoo.dylib")));
  const auto layout = LayoutOf<SharedLibraryLayout>(copy);
  EXPECT_EQ(TextOf(layout.loadedPath), Exactly(directory_.wide("libfoo.dylib")));
  EXPECT_EQ(TextOf(layout.requestedName), Exactly(directory_.wide("foo")));
  EXPECT_FALSE(layout.unloadOnDestruction);
  EXPECT_TRUE(layout.reservedFlag);
  EXPECT_THROW(copy.load(L"other"), InvalidOperation);
}

TEST_F(SharedLibraryTest, AssignmentLetsGoOfTheOldLibraryAndLoadsTheNewOne) {
  put("libfoo.dylib");
  put("libbar.dylib");
  const SharedLibrary foo(directory_.wide("foo"), true, true);
  SharedLibrary library(directory_.wide("bar"), true, true);
  library = foo;
  EXPECT_FALSE(IsMapped(directory_.path("libbar.dylib")));
  EXPECT_TRUE(library.isLoaded());
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).loadedPath),
            Exactly(directory_.wide("libfoo.dylib")));
}

TEST_F(SharedLibraryTest, AssignmentMovesTheFlagWithTheLibrary) {
  put("libfoo.dylib");
  put("libbar.dylib");
  {
    const SharedLibrary foo(directory_.wide("foo"), true, true);
    SharedLibrary library(directory_.wide("bar"), false, true);
    library = foo;
    EXPECT_TRUE(LayoutOf<SharedLibraryLayout>(library).unloadOnDestruction);
  }
  EXPECT_FALSE(IsMapped(directory_.path("libfoo.dylib")));
  EXPECT_TRUE(IsMapped(directory_.path("libbar.dylib")));
}

TEST_F(SharedLibraryTest, SelfAssignmentKeepsTheLibraryWithOneReference) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), true, true);
  const SharedLibrary& self = library;
  library = self;
  EXPECT_TRUE(library.isLoaded());
  library.unload();
  EXPECT_FALSE(IsMapped(directory_.path("libfoo.dylib")));
}

TEST_F(SharedLibraryTest, SwapExchangesEverything) {
  put("libfoo.dylib");
  SharedLibrary loaded(directory_.wide("foo"), true, true);
  SharedLibrary empty(L"absent", false, false);
  loaded.swap(empty);
  EXPECT_FALSE(loaded.isLoaded());
  EXPECT_TRUE(empty.isLoaded());
  const auto formerlyLoaded = LayoutOf<SharedLibraryLayout>(loaded);
  EXPECT_EQ(TextOf(formerlyLoaded.loadedPath), L"");
  EXPECT_EQ(TextOf(formerlyLoaded.requestedName), L"absent");
  EXPECT_FALSE(formerlyLoaded.unloadOnDestruction);
  EXPECT_FALSE(formerlyLoaded.reservedFlag);
  const auto formerlyEmpty = LayoutOf<SharedLibraryLayout>(empty);
  EXPECT_EQ(TextOf(formerlyEmpty.requestedName), Exactly(directory_.wide("foo")));
  EXPECT_TRUE(formerlyEmpty.unloadOnDestruction);
  EXPECT_TRUE(formerlyEmpty.reservedFlag);
}

TEST_F(SharedLibraryTest, SwapWithItselfChangesNothing) {
  put("libfoo.dylib");
  SharedLibrary library(directory_.wide("foo"), true, true);
  library.swap(library);
  EXPECT_TRUE(library.isLoaded());
  EXPECT_EQ(TextOf(LayoutOf<SharedLibraryLayout>(library).requestedName),
            Exactly(directory_.wide("foo")));
}

}  // namespace
