#include "kit/osdep/Bundle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "kit/exception/CarbonError.h"
#include "kit/exception/InvalidOperation.h"
#include "tests/doubles/ScriptedBundleServices.h"

namespace {

using qv::kit::exception::InvalidOperation;
using qv::kit::osdep::Bundle;
using qv::kit::osdep::CarbonError;
using qv::kit::osdep::platform::FolderDomain;
using qv::kit::osdep::platform::FolderType;
using qv::tests::ScriptedBundleServices;
using testing::ElementsAre;

TEST(FolderCodes, AreThoseOfTheSystem) {
  EXPECT_EQ(static_cast<int>(FolderDomain::User), -32763);
  EXPECT_EQ(static_cast<int>(FolderDomain::Local), -32765);
  EXPECT_EQ(static_cast<int>(FolderDomain::System), -32766);
  EXPECT_EQ(static_cast<unsigned>(FolderType::Frameworks), 0x6672616DU);
  EXPECT_EQ(static_cast<unsigned>(FolderType::PrivateFrameworks), 0x7066726DU);
}

class BundleSearch : public testing::Test {
 protected:
  ~BundleSearch() override {
    EXPECT_EQ(services_.openBundles(), 0) << "a bundle was never released, or twice";
    EXPECT_EQ(services_.openUrls(), 0) << "a place was never released, or twice";
  }

  ScriptedBundleServices services_;
};

TEST_F(BundleSearch, LooksForABareNameInFourFoldersAndThenInTheMainBundle) {
  const Bundle bundle(L"foo");
  EXPECT_FALSE(bundle.isOpened());
  EXPECT_THAT(services_.places(),
              ElementsAre(L"user frameworks foo.bundle", L"local frameworks foo.bundle",
                          L"system frameworks foo.bundle", L"system private frameworks foo.bundle",
                          L"main bundle foo.bundle"));
}

TEST_F(BundleSearch, EndsAtTheFirstBundle) {
  services_.addBundle(L"system frameworks foo.bundle");
  services_.addBundle(L"main bundle foo.bundle");
  const Bundle bundle(L"foo");
  EXPECT_TRUE(bundle.isOpened());
  EXPECT_THAT(services_.places(),
              ElementsAre(L"user frameworks foo.bundle", L"local frameworks foo.bundle",
                          L"system frameworks foo.bundle"));
}

class BundlePlace : public testing::TestWithParam<const wchar_t*> {};

TEST_P(BundlePlace, IsWhereABundleIsFoundThatIsNowhereElse) {
  ScriptedBundleServices services;
  services.addBundle(GetParam());
  EXPECT_TRUE(Bundle(L"foo").isOpened());
  EXPECT_EQ(services.places().back(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(AllPlaces, BundlePlace,
                         testing::Values(L"user frameworks foo.bundle",
                                         L"local frameworks foo.bundle",
                                         L"system frameworks foo.bundle",
                                         L"system private frameworks foo.bundle",
                                         L"main bundle foo.bundle"));

TEST_F(BundleSearch, TakesANameWithADirectoryForAPathAndThenLooksInTheMainBundle) {
  const Bundle bundle(L"dir/foo");
  EXPECT_FALSE(bundle.isOpened());
  EXPECT_THAT(services_.places(),
              ElementsAre(L"path dir/foo.bundle", L"main bundle dir/foo.bundle"));
}

TEST_F(BundleSearch, LooksNowhereElseWhenThePathHasABundle) {
  services_.addBundle(L"path /dir/foo.bundle");
  const Bundle bundle(L"/dir/foo");
  EXPECT_TRUE(bundle.isOpened());
  EXPECT_THAT(services_.places(), ElementsAre(L"path /dir/foo.bundle"));
}

TEST_F(BundleSearch, FindsInTheMainBundleWhatThePathDoesNotHave) {
  services_.addBundle(L"main bundle dir/foo.bundle");
  EXPECT_TRUE(Bundle(L"dir/foo").isOpened());
}

TEST_F(BundleSearch, UsesANameWithADotAsItIs) {
  const Bundle bundle(L"foo.framework");
  EXPECT_THAT(services_.places(), testing::Contains(L"user frameworks foo.framework"));
}

TEST_F(BundleSearch, RunsForAnEmptyNameWithTheEmptyName) {
  const Bundle bundle(L"");
  EXPECT_FALSE(bundle.isOpened());
  EXPECT_THAT(services_.places(),
              ElementsAre(L"user frameworks ", L"local frameworks ", L"system frameworks ",
                          L"system private frameworks ", L"main bundle "));
}

TEST_F(BundleSearch, GoesOnWhenAFolderIsNotThere) {
  services_.withhold(L"user frameworks foo.bundle");
  services_.withhold(L"local frameworks foo.bundle");
  services_.addBundle(L"system private frameworks foo.bundle");
  EXPECT_TRUE(Bundle(L"foo").isOpened());
}

class OpenedBundle : public BundleSearch {
 protected:
  OpenedBundle() {
    services_.addBundle(L"path /foo.bundle");
    services_.addFunction(L"answer", &code_);
  }

  int code_ = 0;
};

TEST_F(OpenedBundle, HasItsCodeLoadedOnceAFunctionWasAskedFor) {
  const Bundle bundle(L"/foo");
  EXPECT_TRUE(bundle.isOpened());
  EXPECT_FALSE(bundle.isLoaded());
  bundle.getFunctionPointer(L"answer", true);
  EXPECT_TRUE(bundle.isLoaded());
}

TEST_F(OpenedBundle, GivesAFunctionByName) {
  const Bundle bundle(L"/foo");
  EXPECT_EQ(bundle.getFunctionPointer(L"answer", false), &code_);
  EXPECT_EQ(bundle.getFunctionPointer(L"answer", true), &code_);
  EXPECT_THAT(services_.functions(), ElementsAre(L"answer", L"answer"));
}

TEST_F(OpenedBundle, GivesNullForAMissingFunctionOnRequest) {
  EXPECT_EQ(Bundle(L"/foo").getFunctionPointer(L"question", true), nullptr);
}

TEST_F(OpenedBundle, ThrowsCarbonErrorForAMissingFunction) {
  const Bundle bundle(L"/foo");
  try {
    bundle.getFunctionPointer(L"question", false);
    FAIL();
  } catch (const CarbonError& error) {
    EXPECT_EQ(error.whatcode(), 0xFFFFFFFFU);
    EXPECT_EQ(error.getErrorCode(), 42);
    EXPECT_STREQ(error.what(), "Unknown error code");
  }
}

TEST_F(OpenedBundle, ThatIsNoneThrowsInvalidOperationForAFunction) {
  const Bundle bundle(L"/absent");
  try {
    bundle.getFunctionPointer(L"answer", false);
    FAIL();
  } catch (const InvalidOperation& error) {
    EXPECT_EQ(error.getErrorCode(), -1967362034);
    EXPECT_STREQ(error.what(), "Invalid operation");
  }
}

TEST_F(OpenedBundle, ThatIsNoneGivesNullOnRequestAndIsNotLoaded) {
  const Bundle bundle(L"/absent");
  EXPECT_EQ(bundle.getFunctionPointer(L"answer", true), nullptr);
  EXPECT_FALSE(bundle.isLoaded());
  EXPECT_TRUE(services_.functions().empty());
}

TEST_F(OpenedBundle, IsReplacedByTheNextThatOpensAndReleased) {
  services_.addBundle(L"path /bar.bundle");
  Bundle bundle(L"/foo");
  bundle.getFunctionPointer(L"answer", true);
  EXPECT_TRUE(bundle.openFromPath(L"/bar.bundle"));
  EXPECT_FALSE(bundle.isLoaded()) << "still the first bundle";
  EXPECT_EQ(services_.openBundles(), 1);
}

TEST_F(OpenedBundle, StaysWhenTheNextDoesNotOpen) {
  Bundle bundle(L"/foo");
  services_.withhold(L"path /nowhere");
  EXPECT_FALSE(bundle.openFromPath(L"/absent"));
  EXPECT_FALSE(bundle.openFromPath(L"/nowhere"));
  EXPECT_FALSE(bundle.openBundle(nullptr));
  EXPECT_EQ(bundle.getFunctionPointer(L"answer", false), &code_);
}

TEST_F(OpenedBundle, ComesFromAUrlThatStaysTheCallers) {
  const auto url = qv::kit::osdep::platform::CreateUrlFromPath(L"/foo.bundle");
  Bundle bundle(L"");
  EXPECT_TRUE(bundle.openBundle(url.get()));
  EXPECT_EQ(services_.openUrls(), 1);
}

TEST_F(OpenedBundle, ComesFromAnyStandardLocation) {
  services_.addBundle(L"local private frameworks foo");
  Bundle bundle(L"");
  EXPECT_TRUE(
      bundle.openFromStandardLocation(L"foo", FolderDomain::Local, FolderType::PrivateFrameworks));
  EXPECT_FALSE(bundle.openFromStandardLocation(L"foo", FolderDomain::User, FolderType::Frameworks));
}

TEST_F(OpenedBundle, ComesFromTheMainBundle) {
  services_.addBundle(L"main bundle foo");
  Bundle bundle(L"");
  EXPECT_TRUE(bundle.openFromMainBundle(L"foo"));
  EXPECT_FALSE(bundle.openFromMainBundle(L"bar"));
}

}  // namespace
