#pragma once

#include <pthread.h>

#include <atomic>

namespace qvsslinit {

/// A call of one of the two functions by a host, from its first step to its last. Lists the calling
/// thread, so that those can tell who come in between: a signal handler of that thread, and a
/// child process.
///
/// The list has room for 1024 calls at once. One that finds it full is only counted: a child still
/// learns of it, a signal handler of its thread does not.
///
/// A call looks through as many places as there ever were calls at once, six instructions for each:
/// a shorter list could not be told from one whose last place is just being taken.
class CallUnderWay {
 public:
  CallUnderWay() noexcept;
  CallUnderWay(const CallUnderWay&) = delete;
  CallUnderWay& operator=(const CallUnderWay&) = delete;
  ~CallUnderWay();

  /// Has the children of this process learn whether they were cut off; to be done once, before the
  /// first call. False where there is no memory for it, which matters to children alone.
  static bool watchForks() noexcept;

  /// Whether the calling thread is in a listed call. Signal handlers may ask.
  static bool isInThisThread() noexcept;

  /// Whether this process was forked off while a thread was in a call. Its locks are then held for
  /// ever and what it had begun is half done.
  static bool wasCutOff() noexcept { return wasCutOff_; }

 private:
  /// In a child: notes whether it was cut off, and strikes out the threads that it does not have. A
  /// thread of its own may be given the name of one of them.
  static void lookForCalls() noexcept;

  static inline std::atomic<bool> wasCutOff_{false};
  std::atomic<pthread_t>* place_;
};

}  // namespace qvsslinit
