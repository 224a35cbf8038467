#include "tests/sweep/system/ManyProcesses.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <string>

#include "tests/doubles/TracedChild.h"

namespace qv::tests {
namespace {

TEST_F(ManyProcesses, StartOnOneEmptyStoreTogether) {
  startTogether(10);
}

/// One process that stands still while it makes the pair, and another one that starts meanwhile.
class TwoProcesses : public Sweep {
 protected:
  void host() const { report_->run = HostRun::OfLibraryOn(site_); }

  /// Lets the child go on until a file is there.
  void goOnUntilThereIs(const char* file, TracedChild& child) const {
    while (!site_.directory().has(file))
      ASSERT_TRUE(child.step());
  }

  /// Lets the child go on until it has tried for a lock in vain.
  static void goOnUntilItWaits(TracedChild& child) {
    do
      ASSERT_TRUE(child.step());
    while (child.stop().entry || child.stop().number != SYS_flock);
    ASSERT_EQ(child.stop().result, -EWOULDBLOCK);
  }

  static bool isPause(const TracedChild::Stop& stop) {
    switch (stop.number) {
      case SYS_nanosleep:
      case SYS_clock_nanosleep:
        return stop.entry;
      default:
        return false;
    }
  }

  /// Lets the child go on to its end and skips its pauses. Gives their number.
  static int finishWithoutPauses(TracedChild& child) {
    int pauses = 0;
    while (child.step()) {
      if (!isPause(child.stop())) continue;
      child.deny(EINVAL);
      ++pauses;
    }
    return pauses;
  }

  TracedChild first_{[this] { host(); }};
};

TEST_F(TwoProcesses, TheSecondWaitsForThePairOfTheFirst) {
  goOnUntilThereIs(Site::kKey, first_);
  TracedChild second([this] { host(); });
  goOnUntilItWaits(second);
  first_.finish();
  const std::string key = site_.directory().read(Site::kKey);
  second.finish();
  EXPECT_TRUE(report_->run.ready);
  EXPECT_EQ(site_.directory().read(Site::kKey), key);
  expectNoTrouble();
}

TEST_F(TwoProcesses, TheSecondDoesNotWaitForEverWhereTheFirstIsStopped) {
  goOnUntilThereIs(Site::kKey, first_);
  TracedChild second([this] { host(); });
  // Ten seconds.
  EXPECT_EQ(finishWithoutPauses(second), 1000);
  EXPECT_TRUE(report_->run.ready);
  EXPECT_TRUE(site_.directory().has(Site::kCertificate));
  expectNoTrouble();
}

TEST_F(TwoProcesses, TheSecondLeavesTheCertificateAloneThatTheFirstIsStoppedAt) {
  goOnUntilThereIs(Site::kCertificate, first_);
  TracedChild second([this] { host(); });
  EXPECT_GT(finishWithoutPauses(second), 0);
  EXPECT_TRUE(report_->run.ready);
  first_.finish();
  expectNoTrouble();
  EXPECT_TRUE(site_.directory().has(Site::kCertificate));
  EXPECT_TRUE(site_.isTemporaryEmpty());
}

}  // namespace
}  // namespace qv::tests
