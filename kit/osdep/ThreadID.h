#pragma once

#include <pthread.h>

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// The identity of a thread, as a value. Systems give the identity of a thread that has ended to
/// another one.
class ThreadID {
 public:
  /// No thread.
  ThreadID() noexcept = default;

  /// The thread that calls.
  static ThreadID getCallingID() noexcept;

  /// Whether both are the same thread, or none.
  bool operator==(const ThreadID& other) const noexcept;

  /// Whether the thread that calls is this one.
  bool isCurrentThread() const noexcept;

  /// All digits that the identity has in base 16, without prefix.
  WString getDisplayStringHex() const;

 private:
  pthread_t id_{};
};

}  // namespace qv::kit::osdep
