#include "kit/osdep/platform/FolderServices.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <limits>
#include <string>

#include "kit/osdep/GetCertStoreDir.h"
#include "kit/osdep/GetCommonAppDataDirectory.h"
#include "tests/doubles/Text.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep;
using platform::FindPreferencesFolder;
using qv::kit::WString;
using qv::tests::Exactly;
using testing::ElementsAre;

class ApplePreferences : public qv::tests::AppleTest {
 protected:
  ApplePreferences() {
    ::unsetenv("QVPUBAPPDATADIR");
    foundation_.addFolder(-32765, 0x70726566, "/Volumes/disk/Preferences");
  }
};

TEST_F(ApplePreferences, AreThoseOfTheLocalDomain) {
  EXPECT_EQ(Exactly(FindPreferencesFolder()), L"/Volumes/disk/Preferences");
  EXPECT_THAT(foundation_.calls(),
              ElementsAre("FSFindFolder -32765 1886545254",
                          "CFURLCreateFromFSRef /Volumes/disk/Preferences",
                          "CFURLCopyFileSystemPath /Volumes/disk/Preferences 0",
                          "CFStringGetLength", testing::StartsWith("CFStringGetBytes")));
}

TEST_F(ApplePreferences, HoldTheDataAndTheCertificateStore) {
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/Volumes/disk/Preferences/kestrix");
  EXPECT_EQ(Exactly(GetCertStoreDir()), L"/Volumes/disk/Preferences/kestrix/certstore");
}

TEST_F(ApplePreferences, AreNotAskedForWhenTheEnvironmentNamesADirectory) {
  ::setenv("QVPUBAPPDATADIR", "/srv/data", 1);
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/srv/data");
  EXPECT_TRUE(foundation_.calls().empty());
  ::unsetenv("QVPUBAPPDATADIR");
}

TEST_F(ApplePreferences, AreNoneWhereACallForThemFails) {
  const int calls = withEachCallFailing([&] {
    const WString folder = FindPreferencesFolder();
    EXPECT_EQ(folder.empty(), hasFailed());
  });
  EXPECT_EQ(calls, 4) << "a folder, its place, a string and its bytes";
}

TEST_F(ApplePreferences, AreNoneWithAnyStatusButZero) {
  foundation_.fail("FSFindFolder", 1);
  EXPECT_TRUE(FindPreferencesFolder().empty());
}

TEST_F(ApplePreferences, FallBackToLibraryPreferencesWhereACallFails) {
  withEachCallFailing([&] {
    const WString directory = GetCommonAppDataDirectory();
    const std::wstring folder = hasFailed() ? L"/Library" : L"/Volumes/disk";
    EXPECT_EQ(Exactly(directory), folder + L"/Preferences/kestrix");
  });
}

TEST_F(ApplePreferences, FallBackToLibraryPreferencesWhereTheirPathIsTooLongToBeOne) {
  foundation_.claimLength(std::numeric_limits<CFIndex>::max());
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/Library/Preferences/kestrix");
  EXPECT_EQ(Exactly(GetCertStoreDir()), L"/Library/Preferences/kestrix/certstore");
}

class AppleWithoutFolders : public qv::tests::AppleTest {};

TEST_F(AppleWithoutFolders, FallsBackToLibraryPreferences) {
  ::unsetenv("QVPUBAPPDATADIR");
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/Library/Preferences/kestrix");
  EXPECT_FALSE(called("CFURLCreateFromFSRef"));
}

}  // namespace
