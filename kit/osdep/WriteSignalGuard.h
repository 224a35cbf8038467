#pragma once

#include <pthread.h>

#include <csignal>

namespace qv::kit::osdep {

/// Keeps the writes of the calling thread from ending the host, as long as this object lives. One
/// to a pipe that nobody reads any more (SIGPIPE), or beyond the size that the process may give a
/// file (SIGXFSZ), fails, and the signal is taken back. One that was pending before stays.
class WriteSignalGuard {
 public:
  WriteSignalGuard() noexcept : formerlyPending_(Pending()) {
    sigset_t raised = None();
    sigaddset(&raised, SIGPIPE);
    sigaddset(&raised, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &raised, &formerMask_);
  }
  ~WriteSignalGuard() {
    takeBack(SIGPIPE);
    takeBack(SIGXFSZ);
    pthread_sigmask(SIG_SETMASK, &formerMask_, nullptr);
  }
  WriteSignalGuard(const WriteSignalGuard&) = delete;
  WriteSignalGuard& operator=(const WriteSignalGuard&) = delete;

 private:
  static sigset_t None() noexcept {
    sigset_t signals;
    sigemptyset(&signals);
    return signals;
  }
  static sigset_t Pending() noexcept {
    sigset_t signals = None();
    sigpending(&signals);
    return signals;
  }
  void takeBack(int signal) const noexcept {
    const sigset_t pending = Pending();
    if (sigismember(&formerlyPending_, signal) == 1 || sigismember(&pending, signal) != 1) return;
    sigset_t awaited = None();
    sigaddset(&awaited, signal);
    int taken = 0;
    sigwait(&awaited, &taken);
  }

  sigset_t formerlyPending_;
  sigset_t formerMask_;
};

}  // namespace qv::kit::osdep
