#include "kit/osdep/GetCertStoreDir.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "kit/osdep/GetCommonAppDataDirectory.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::osdep::GetCertStoreDir;
using qv::kit::osdep::GetCommonAppDataDirectory;
using qv::tests::Exactly;

class DataDirectory : public testing::Test {
 protected:
  DataDirectory() { ::unsetenv("QVPUBAPPDATADIR"); }
  ~DataDirectory() override { ::unsetenv("QVPUBAPPDATADIR"); }

  static void choose(const char* directory) { ::setenv("QVPUBAPPDATADIR", directory, 1); }
};

TEST_F(DataDirectory, IsKestrixInVarLibByDefault) {
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/var/lib/kestrix");
  EXPECT_EQ(Exactly(GetCertStoreDir()), L"/var/lib/kestrix/certstore");
}

TEST_F(DataDirectory, MovesToTheAbsolutePathInTheEnvironmentWithoutALevelOfItsOwn) {
  choose("/srv/data");
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/srv/data");
  EXPECT_EQ(Exactly(GetCertStoreDir()), L"/srv/data/certstore");
}

TEST_F(DataDirectory, IsTakenFromTheEnvironmentExactlyAsItIs) {
  choose("/srv//./Data/../");
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/srv//./Data/../");
  EXPECT_EQ(Exactly(GetCertStoreDir()), L"/srv//./Data/../certstore");
}

TEST_F(DataDirectory, MayBeTheRoot) {
  choose("/");
  EXPECT_EQ(Exactly(GetCertStoreDir()), L"/certstore");
}

TEST_F(DataDirectory, IsNotMovedByARelativePath) {
  for (const char* relative : {"data", "./data", "../data", " /data", ""}) {
    choose(relative);
    EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/var/lib/kestrix") << relative;
  }
}

TEST_F(DataDirectory, IsReadAnewEachTime) {
  choose("/srv/one");
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/srv/one");
  choose("/srv/two");
  EXPECT_EQ(Exactly(GetCommonAppDataDirectory()), L"/srv/two");
}

}  // namespace
