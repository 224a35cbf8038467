#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/doubles/DynamicLoader.h"
#include "tests/doubles/TracedChild.h"
#include "tests/sweep/Sweep.h"

namespace qv::tests {
namespace {

using Numbers = std::vector<std::uint64_t>;

/// The system calls behind the functions that a program calls.
const std::map<std::string, Numbers> kCalls = {
    {"open",
     {
#ifdef SYS_open
         SYS_open,
#endif
         SYS_openat}},
    {"read", {SYS_read, SYS_pread64}},
    {"write", {SYS_write}},
    {"close", {SYS_close}},
    {"fsync", {SYS_fsync}},
    {"flock", {SYS_flock}},
    {"rename",
     {
#ifdef SYS_rename
         SYS_rename,
#endif
         SYS_renameat2}},
    {"link",
     {
#ifdef SYS_link
         SYS_link,
#endif
         SYS_linkat}},
    {"unlink",
     {
#ifdef SYS_unlink
         SYS_unlink,
#endif
         SYS_unlinkat}},
    {"mkdir",
     {
#ifdef SYS_mkdir
         SYS_mkdir,
#endif
         SYS_mkdirat}},
    {"stat",
     {
#ifdef SYS_stat
         SYS_stat, SYS_lstat, SYS_fstat,
#endif
#ifdef SYS_stat64
         SYS_stat64, SYS_lstat64, SYS_fstat64,
#endif
#ifdef SYS_newfstatat
         SYS_newfstatat,
#endif
#ifdef SYS_fstatat64
         SYS_fstatat64,
#endif
         SYS_statx}},
    {"chmod", {SYS_fchmod}},
    {"gethostname", {SYS_uname}},
};

std::string NameOf(std::uint64_t number) {
  for (const auto& [name, numbers] : kCalls)
    if (std::find(numbers.begin(), numbers.end(), number) != numbers.end()) return name;
  return "";
}

struct Call {
  std::string name;
  bool isLoaders;
  std::uint64_t length;
};

using Act = std::function<void(TracedChild& child)>;

class SystemCallSweep : public Sweep {
 protected:
  /// Notes the calls of a run that nothing disturbs.
  void SetUp() override {
    Sweep::SetUp();
    begin();
    watch([&](TracedChild& child) {
      const TracedChild::Stop& stop = child.stop();
      if (NameOf(stop.number).empty()) return;
      calls_.push_back({NameOf(stop.number), loader_.holds(stop.caller), stop.arguments[2]});
    });
    undisturbed_ = report_->run;
  }

  virtual void begin() { site_.clear(); }

  /// A host in a child that does act before each of its system calls until the host is done.
  void watch(const Act& act) {
    *report_ = Report();
    TracedChild child([this] {
      report_->run = HostRun::On(site_);
      ::syscall(kHostIsDone);
      tellTrouble();
    });
    while (child.step() && child.stop().number != kHostIsDone)
      if (child.stop().entry) act(child);
    child.finish();
    expectNoTrouble();
  }

  /// Does act in a run of its own before the nth of the calls, and afterwards before each one that
  /// follows.
  void disturb(std::size_t n, const Act& act, const Act& afterwards = nullptr) try {
    begin();
    std::size_t count = 0;
    watch([&](TracedChild& child) {
      if (NameOf(child.stop().number).empty()) return;
      if (count++ < n) return;
      if (count > n + 1) {
        if (afterwards) afterwards(child);
        return;
      }
      EXPECT_EQ(NameOf(child.stop().number), calls_[n].name);
      act(child);
    });
    EXPECT_GT(count, n);
  } catch (const std::runtime_error& error) {
    ADD_FAILURE() << error.what();
  }

  /// Lets one call after the other fail, and has each run checked. Gives the number of runs.
  int sweep(int error, const std::function<void(const Call& call)>& check) {
    std::map<std::string, int> runs;
    int nulls = 0;
    for (std::size_t n = 0; n < calls_.size() && !HasFailure(); ++n) {
      const Call& call = calls_[n];
      // Why a call of its own fails is all the same to the loader.
      if (call.isLoaders && error != EIO) continue;
      SCOPED_TRACE("call " + std::to_string(n) + ", " + call.name);
      disturb(n, [&](TracedChild& child) {
        // A close that fails has closed the file all the same.
        call.name == "close" ? child.spoil(error) : child.deny(error);
      });
      ++runs[call.name];
      nulls += report_->run.ready ? 0 : 1;
      check(call);
    }
    int sum = 0;
    for (const auto& [name, count] : runs) {
      std::printf("%s %d, ", name.c_str(), count);
      sum += count;
    }
    std::printf("%d runs, %d of them without a handle\n", sum, nulls);
    if (mustMeetAll_) {
      for (const auto& [name, numbers] : kCalls)
        EXPECT_GT(runs[name], 0) << name;
    }
    // Those in which a library could not be opened.
    EXPECT_GT(nulls, error == EIO ? 2 : -1);
    return sum;
  }

  void expectUndisturbed() {
    EXPECT_TRUE(report_->run == undisturbed_);
    EXPECT_TRUE(site_.directory().has(Site::kCertificate));
  }

  /// The numbers of all calls of this name, but for the loader's own.
  std::vector<std::size_t> ownCalls(const std::string& name) const {
    std::vector<std::size_t> found;
    for (std::size_t n = 0; n < calls_.size(); ++n)
      if (calls_[n].name == name && !calls_[n].isLoaders) found.push_back(n);
    return found;
  }

  const DynamicLoader loader_;
  std::vector<Call> calls_;
  HostRun undisturbed_;
  /// Whether a run that nothing disturbs makes each of the calls.
  bool mustMeetAll_ = true;
};

std::string ErrorName(const testing::TestParamInfo<int>& info) {
  return ::strerrorname_np(info.param);
}

class AnySystemCall : public SystemCallSweep, public testing::WithParamInterface<int> {};

TEST_P(AnySystemCall, MayFail) {
  const int runs = sweep(GetParam(), [&](const Call& /*call*/) {
    if (!site_.directory().has(Site::kCertificate)) expectNextProcessToHaveAPair();
  });
  EXPECT_GT(runs, 50);
}

INSTANTIATE_TEST_SUITE_P(WithAnyError, AnySystemCall, testing::Values(ENOSPC, EIO, EMFILE, EACCES),
                         ErrorName);

TEST_F(SystemCallSweep, AnyInterruptedCallIsMadeAgain) {
  const int runs = sweep(EINTR, [&](const Call& call) {
    // The one for the host's name cannot be interrupted.
    if (call.name != "gethostname") expectUndisturbed();
  });
  EXPECT_GT(runs, 50);
}

TEST_F(SystemCallSweep, AnyReadOrWriteMayBeShort) {
  int runs = 0;
  for (const char* name : {"read", "write"}) {
    for (const std::size_t n : ownCalls(name)) {
      for (const std::uint64_t length : {std::uint64_t{1}, calls_[n].length - 1}) {
        SCOPED_TRACE("call " + std::to_string(n) + ", " + name);
        disturb(n, [&](TracedChild& child) { child.setArgument(2, length); });
        expectUndisturbed();
        ++runs;
      }
    }
  }
  std::printf("%d runs\n", runs);
  EXPECT_GT(runs, 10);
}

class FullDisk : public SystemCallSweep {
 protected:
  /// Lets the nth call, a write, and all writes after it have room for so many bytes.
  void leaveRoom(std::size_t n, std::uint64_t bytes) {
    SCOPED_TRACE("room for " + std::to_string(bytes) + " bytes");
    const auto fill = [](TracedChild& child) {
      if (child.stop().number == SYS_write) child.deny(ENOSPC);
    };
    const auto cut = [&](TracedChild& child) { child.setArgument(2, bytes); };
    disturb(n, bytes == 0 ? Act(fill) : Act(cut), fill);
    EXPECT_FALSE(report_->run.settingsWritten);
  }

  std::string troubleWithPair() const override {
    return mayBeCut_ ? "" : SystemCallSweep::troubleWithPair();
  }

  bool mayBeCut_ = false;
};

TEST_F(FullDisk, LeavesNoCertificateWhateverItStillTakesOfTheKey) {
  const std::size_t key = ownCalls("write").at(0);
  for (const std::uint64_t bytes : {std::uint64_t{0}, std::uint64_t{1}, calls_[key].length - 1}) {
    leaveRoom(key, bytes);
    EXPECT_FALSE(site_.directory().has(Site::kCertificate));
    expectNextProcessToHaveAPair();
  }
}

TEST_F(FullDisk, LeavesNoCertificateWhateverItStillTakesOfIt) {
  const std::size_t certificate = ownCalls("write").at(1);
  for (std::uint64_t bytes = 0; bytes < calls_[certificate].length && !HasFailure(); ++bytes) {
    leaveRoom(certificate, bytes);
    EXPECT_FALSE(site_.directory().has(Site::kCertificate));
    expectNextProcessToHaveAPair();
  }
  EXPECT_GT(calls_[certificate].length, 50u);
  std::printf("%d sizes\n", static_cast<int>(calls_[certificate].length));
}

TEST_F(FullDisk, LeavesACertificateThatCannotBeRemovedToTheNextProcess) {
  mayBeCut_ = true;
  int unlinks = 0;
  disturb(
      ownCalls("write").at(1), [](TracedChild& child) { child.deny(ENOSPC); },
      [&](TracedChild& child) {
        if (NameOf(child.stop().number) == "unlink" && ++unlinks == 1) child.deny(EIO);
      });
  EXPECT_EQ(site_.directory().read(Site::kCertificate), "");
  mayBeCut_ = false;
  expectNextProcessToHaveAPair();
}

TEST_F(SystemCallSweep, WhatTheDiskDoesNotKeepIsNoCertificate) {
  const std::vector<std::size_t> syncs = ownCalls("fsync");
  ASSERT_GE(syncs.size(), 2u);  // the key and the certificate first
  for (const std::size_t n : {syncs[0], syncs[1]}) {
    for (const int error : {EIO, ENOSPC}) {
      disturb(n, [&](TracedChild& child) { child.deny(error); });
      EXPECT_FALSE(site_.directory().has(Site::kCertificate));
      expectNextProcessToHaveAPair();
    }
  }
}

/// With what a killed process left in the store.
class Leftover : public SystemCallSweep, public testing::WithParamInterface<int> {
 protected:
  void begin() override {
    site_.clear();
    site_.putLeftover();
  }
  /// Where something fails it may stay.
  std::string troubleWithPair() const override { return ""; }
};

TEST_P(Leftover, IsClearedUpByTheNextProcessWhateverCallFails) {
  const int runs = sweep(GetParam(), [&](const Call& /*call*/) {
    expectNextProcessToHaveAPair();
    EXPECT_EQ(TroubleWithBarePair(site_), "");
  });
  EXPECT_GT(runs, 50);
}

INSTANTIATE_TEST_SUITE_P(WithAnyError, Leftover, testing::Values(EIO), ErrorName);

/// With a pair of somebody else's in the store.
class ForeignPair : public SystemCallSweep, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    SystemCallSweep::SetUp();
    mustMeetAll_ = false;  // nothing is made
  }
  void begin() override {
    site_.clear();
    site_.putForeignPair();
  }
  std::string troubleWithPair() const override {
    return site_.hasForeignPair() ? "" : "the pair was touched";
  }
};

TEST_P(ForeignPair, IsNotTouchedWhateverCallFails) {
  EXPECT_GT(sweep(GetParam(), [](const Call& /*call*/) {}), 30);
}

// Not for errors of the file itself: a certificate that cannot be opened is replaced.
INSTANTIATE_TEST_SUITE_P(WithAnyError, ForeignPair, testing::Values(EINTR, EMFILE), ErrorName);

}  // namespace
}  // namespace qv::tests
