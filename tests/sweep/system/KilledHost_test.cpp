#include "tests/sweep/system/KilledHost.h"

#include <gtest/gtest.h>

namespace qv::tests {
namespace {

TEST_F(KilledHost, LeavesAStoreThatTheNextOneHasOrMakesAPairIn) {
  EXPECT_GT(killEverywhere([] {}), 40);
  EXPECT_GT(certificates_, 5);
}

TEST_F(KilledHost, MayBeKilledAgainWhileItClearsUp) {
  int first = 0;
  for (site_.clear(); killAt(first); ++first, site_.clear())
    if (site_.directory().has(Site::kCertificate)) break;
  ASSERT_EQ(site_.directory().read(Site::kCertificate), "");
  EXPECT_GT(killEverywhere([&] { killAt(first); }), 30);
}

}  // namespace
}  // namespace qv::tests
