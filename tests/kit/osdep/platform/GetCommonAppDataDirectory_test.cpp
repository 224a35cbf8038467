#include "kit/osdep/GetCommonAppDataDirectory.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "tests/doubles/ScriptedFolderServices.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::osdep::GetCommonAppDataDirectory;
using qv::tests::Exactly;
using qv::tests::g_PreferencesFolder;

TEST(GetCommonAppDataDirectory, IsKestrixInThePreferencesFolder) {
  ::unsetenv("QVPUBAPPDATADIR");
  g_PreferencesFolder = L"/Library/Preferences";
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/Library/Preferences/kestrix");
  g_PreferencesFolder = L"/elsewhere/";
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/elsewhere/kestrix");
}

TEST(GetCommonAppDataDirectory, FallsBackToLibraryPreferencesWhenTheSystemNamesNoFolder) {
  ::unsetenv("QVPUBAPPDATADIR");
  g_PreferencesFolder.clear();
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/Library/Preferences/kestrix");
}

}  // namespace
