#pragma once

#include <pthread.h>

#include <csignal>

namespace qv::kit::osdep {

/// Lets the calling thread write to a pipe that nobody reads any more, as long as this object
/// lives: the write fails, and the signal that would end the host by default is taken back. One
/// that was pending before stays.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard() noexcept : wasPending_(isPending()) {
    sigset_t brokenPipe = set();
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &former_);
  }
  ~BrokenPipeGuard() {
    sigset_t brokenPipe = set();
    int signal = 0;
    if (!wasPending_ && isPending()) sigwait(&brokenPipe, &signal);
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
  }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

 private:
  static sigset_t set() noexcept {
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    return brokenPipe;
  }
  static bool isPending() noexcept {
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
  }

  bool wasPending_;
  sigset_t former_;
};

}  // namespace qv::kit::osdep
