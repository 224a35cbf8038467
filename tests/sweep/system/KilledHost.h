#pragma once

#include <sys/syscall.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <set>
#include <string>

#include "tests/doubles/TracedChild.h"
#include "tests/sweep/Sweep.h"

namespace qv::tests {

/// Hosts that are killed before one system call after the other, from their first look at the store
/// on.
class KilledHost : public Sweep {
 protected:
  using Sweep::Sweep;

  static bool looksAtStore(const TracedChild& child) {
    for (const unsigned argument : {0, 1}) {
      const std::string text = child.textAt(child.stop().arguments[argument]);
      if (text.find("/certstore") != std::string::npos) return true;
    }
    return false;
  }

  /// Calls for memory, randomness and the process's own number, and those with which threads wait
  /// for each other, change nothing that anybody could find afterwards, and chance has it how many
  /// of them there are.
  static bool leavesNoTrace(std::uint64_t call) {
    static const std::set<std::uint64_t> kCalls{
        SYS_brk,       SYS_mmap,   SYS_munmap, SYS_mprotect,     SYS_madvise,
        SYS_getrandom, SYS_getpid, SYS_futex,  SYS_rt_sigaction, SYS_rt_sigprocmask};
    return kCalls.count(call) != 0;
  }

  static bool isLink(std::uint64_t call) {
#ifdef SYS_link
    if (call == SYS_link) return true;
#endif
    return call == SYS_linkat;
  }

  /// Starts a host and kills it before the nth of its other calls, counted from 0. False when it
  /// has done its work before that.
  bool killAt(int n) {
    TracedChild child([this] {
      HostRun::OfLibraryOn(site_);
      ::syscall(kHostIsDone);
    });
    int count = 0;
    bool hasBegun = false;
    while (child.step() && child.stop().number != kHostIsDone) {
      if (!child.stop().entry || leavesNoTrace(child.stop().number)) continue;
      hasBegun = hasBegun || looksAtStore(child);
      if (hasBegun && count++ == n) return true;
    }
    return false;
  }

  /// Kills at every call, or at one in stride, each time in a store that prepare has made. Gives
  /// the number of kills.
  int killEverywhere(const std::function<void()>& prepare, int stride = 1) {
    int kills = 0;
    for (; !HasFailure(); ++kills) {
      SCOPED_TRACE("kill " + std::to_string(kills));
      site_.clear();
      prepare();
      if (!killAt(kills * stride)) break;
      certificates_ += site_.directory().has(Site::kCertificate) ? 1 : 0;
      expectNextProcessToHaveAPair();
    }
    std::printf("%d kills, %d of them left a certificate\n", kills, certificates_);
    return kills;
  }

  int certificates_ = 0;
};

}  // namespace qv::tests
