#include "tests/sweep/system/KilledHost.h"

#include <gtest/gtest.h>

#include <cerrno>

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

// As of a server of files: it has made the certificate's second name, and nobody learns of it.
TEST_F(KilledHost, MayHaveLostTheAnswerToItsLink) {
  bool hasLink = false;
  {
    TracedChild child([this] { HostRun::OfLibraryOn(site_); });
    while (child.step()) {
      if (!child.stop().entry) continue;
      if (hasLink && child.stop().number == SYS_write) break;
      if (!isLink(child.stop().number)) continue;
      child.spoil(EIO);
      hasLink = true;
    }
  }
  ASSERT_TRUE(hasLink);
  ASSERT_TRUE(site_.directory().has(Site::kCertificate));
  ASSERT_EQ(site_.directory().read(Site::kCertificate), "");
  expectNextProcessToHaveAPair();
}

}  // namespace
}  // namespace qv::tests
