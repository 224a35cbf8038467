#include "kit/osdep/platform/LentRights.h"

#include <gtest/gtest.h>

#include "kit/osdep/TrustedVariable.h"

namespace {
int g_lent = 0;
}  // namespace

extern "C" int issetugid() {
  return g_lent;
}

namespace qv::kit::osdep {
namespace {

TEST(LentRights, AreWhatTheSystemSaysOfTheProgramsStart) {
  ::setenv("TMPDIR", "/srv/tmp", 1);
  EXPECT_FALSE(platform::HasLentRights());
  EXPECT_STREQ(TrustedVariable("TMPDIR"), "/srv/tmp");
  g_lent = 1;
  EXPECT_TRUE(platform::HasLentRights());
  EXPECT_EQ(TrustedVariable("TMPDIR"), nullptr);
  g_lent = 0;
}

}  // namespace
}  // namespace qv::kit::osdep
