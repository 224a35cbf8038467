#include "kit/osdep/TrustedVariable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/auxv.h>

#include <cstdlib>

#include "kit/osdep/GetCommonAppDataDirectory.h"
#include "kit/osdep/path.h"

namespace {

/// Which of the ids that the kernel tells a program is not the one of who started it; 0: none.
unsigned long g_lentId = 0;

}  // namespace

extern "C" {
unsigned long __real_getauxval(unsigned long type);
unsigned long __wrap_getauxval(unsigned long type) {
  return __real_getauxval(type) + (type == g_lentId ? 1 : 0);
}
}

namespace qv::kit::osdep {
namespace {

class TrustedVariableTest : public testing::Test {
 protected:
  void SetUp() override {
    ::setenv("QVPUBAPPDATADIR", "/srv/data", 1);
    ::setenv("TMPDIR", "/srv/tmp", 1);
  }
  void TearDown() override {
    g_lentId = 0;
    ::unsetenv("QVPUBAPPDATADIR");
    ::unsetenv("TMPDIR");
  }

  static void expectEnvironmentIgnored() {
    EXPECT_EQ(TrustedVariable("TMPDIR"), nullptr);
    EXPECT_EQ(GetCommonAppDataDirectory(), L"/var/lib/kestrix");
    EXPECT_EQ(path::TempDirName(), L"/var/tmp/");
  }
};

TEST_F(TrustedVariableTest, IsTheVariableWhereAUserRunsAProgramWithTheirOwnRights) {
  EXPECT_STREQ(TrustedVariable("TMPDIR"), "/srv/tmp");
  EXPECT_EQ(GetCommonAppDataDirectory(), L"/srv/data");
  EXPECT_EQ(path::TempDirName(), L"/srv/tmp");
}

TEST_F(TrustedVariableTest, IsNullWhereTheVariableIsNotSet) {
  ::unsetenv("TMPDIR");
  EXPECT_EQ(TrustedVariable("TMPDIR"), nullptr);
}

TEST_F(TrustedVariableTest, IsTheVariableOfAProgramThatGotCapabilitiesFromItsFile) {
  g_lentId = AT_SECURE;
  EXPECT_STREQ(TrustedVariable("TMPDIR"), "/srv/tmp");
  EXPECT_EQ(GetCommonAppDataDirectory(), L"/srv/data");
}

TEST_F(TrustedVariableTest, IsNothingWithTheRightsOfAnotherUser) {
  g_lentId = AT_EUID;
  expectEnvironmentIgnored();
}

TEST_F(TrustedVariableTest, IsNothingWithTheRightsOfAnotherGroup) {
  g_lentId = AT_EGID;
  expectEnvironmentIgnored();
}

}  // namespace
}  // namespace qv::kit::osdep
