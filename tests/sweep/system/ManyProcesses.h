#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

#include "tests/sweep/Sweep.h"

namespace qv::tests {

/// Hosts that start on one store at the same moment.
class ManyProcesses : public Sweep {
 protected:
  static constexpr int kProcesses = 64;

  using Sweep::Sweep;

  /// Starts them together, on an empty store, again and again. Each one must find a whole pair as
  /// soon as its Init is over.
  void startTogether(int rounds) {
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
      SCOPED_TRACE("round " + std::to_string(round));
      site_.clear();
      startOnce();
      EXPECT_TRUE(site_.directory().has(Site::kCertificate));
      EXPECT_EQ(troubleWithPair(), "");
      EXPECT_TRUE(site_.isTemporaryEmpty());
    }
    std::printf("%d rounds of %d processes\n", rounds, kProcesses);
  }

 private:
  void startOnce() const {
    int gate[2];
    if (::pipe(gate) != 0) throw std::runtime_error("no pipe");
    std::vector<pid_t> children;
    for (int n = 0; n < kProcesses; ++n) {
      const pid_t child = ::fork();
      if (child == -1) throw std::runtime_error("no child process");
      if (child == 0) runBehind(gate);
      children.push_back(child);
    }
    ::close(gate[0]);
    ::close(gate[1]);  // and off they go
    for (const pid_t child : children) {
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      EXPECT_FALSE(WIFSIGNALED(status)) << ::strsignal(WTERMSIG(status));
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
  }

  [[noreturn]] void runBehind(const int (&gate)[2]) const {
    ::alarm(kPatience);
    ::close(gate[1]);
    char byte = 0;
    static_cast<void>(!::read(gate[0], &byte, 1));
    const HostRun run = HostRun::OfLibraryOn(site_);
    const std::string trouble = run.ready ? TroubleWithPairOf(*this) : "no handle";
    if (!trouble.empty()) std::fprintf(stderr, "%s\n", trouble.c_str());
    ::_exit(trouble.empty() ? 0 : 1);
  }

  static std::string TroubleWithPairOf(const ManyProcesses& host) {
    return host.site_.directory().has(Site::kCertificate) ? host.troubleWithPair()
                                                          : "no certificate";
  }
};

}  // namespace qv::tests
