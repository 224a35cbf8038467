#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "tests/doubles/InChild.h"
#include "tests/sweep/BarePair.h"
#include "tests/sweep/HostRun.h"

namespace qv::tests {

/// Runs of a host in processes of their own, over a site whose OpenSSL is the bare double unless it
/// is told otherwise.
class Sweep : public testing::Test {
 protected:
  /// What such a process tells.
  struct Report {
    HostRun run;
    std::uint64_t calls;
    int descriptors;
    char trouble[200];
  };

  Sweep() : Sweep(QV_BARE_OPENSSL, QV_BARE_OPENSSL) {}
  Sweep(const char* crypto, const char* ssl) : site_(crypto, ssl) {
    void* const memory =
        ::mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
    report_ = static_cast<Report*>(memory);
  }
  ~Sweep() override { ::munmap(report_, sizeof(Report)); }

  /// Learns how many descriptors a process has in the end that nothing disturbs.
  void SetUp() override {
    InChild([this] {
      report_->run = HostRun::On(site_);
      tellTrouble();
      return 0;
    });
    mostDescriptors_ = report_->descriptors;
    site_.clear();
  }

  /// What is wrong with key and certificate, or nothing. There may be none.
  virtual std::string troubleWithPair() const { return TroubleWithBarePair(site_); }

  /// For the process itself, after its run.
  void tellTrouble() const {
    ::alarm(kPatience);
    const std::string trouble = TroubleAfter(report_->run, site_);
    trouble.copy(report_->trouble, sizeof(report_->trouble) - 1);
    report_->descriptors = CountDescriptors();
  }

  void expectNoTrouble() const {
    EXPECT_STREQ(report_->trouble, "");
    EXPECT_LE(report_->descriptors, mostDescriptors_) << "a descriptor was lost";
    EXPECT_EQ(troubleWithPair(), "");
  }

  /// Whatever became of the store, the next process has a whole pair in it, or makes one.
  void expectNextProcessToHaveAPair() {
    *report_ = Report();
    InChild([this] {
      report_->run = HostRun::OfLibraryOn(site_);
      tellTrouble();
      return 0;
    });
    expectNoTrouble();
    EXPECT_TRUE(site_.directory().has(Site::kCertificate));
    EXPECT_TRUE(site_.isTemporaryEmpty());
  }

  /// A process that has waited so long for a lock will wait for ever.
  static constexpr unsigned kPatience = 60;
  /// A call that nobody makes otherwise.
  static constexpr std::uint64_t kHostIsDone = SYS_getppid;

  Site site_;
  Report* report_;
  int mostDescriptors_ = 0;
};

}  // namespace qv::tests
