#pragma once

#include <pthread.h>

#include <atomic>

namespace qvsslinit {

/// A call of one of the two functions by a host, from its first step to its last. Lists the calling
/// thread, so that those can tell who come in between: a signal handler of that thread, and a
/// child process.
///
/// The list has room for more threads than are ever in the functions at once; a thread that finds
/// it full goes on unlisted.
class CallUnderWay {
 public:
  CallUnderWay() noexcept;
  CallUnderWay(const CallUnderWay&) = delete;
  CallUnderWay& operator=(const CallUnderWay&) = delete;
  ~CallUnderWay();

  /// Whether the calling thread is in a call. Signal handlers may ask.
  static bool isInThisThread() noexcept;

  /// Whether this process was forked off while a thread was in a call. Its locks are then held for
  /// ever and what it had begun is half done.
  static bool wasCutOff() noexcept;

 private:
  std::atomic<pthread_t>* place_;
};

}  // namespace qvsslinit
