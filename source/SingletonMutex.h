#pragma once

#include <atomic>

#include "kit/osdep/CriticalSection.h"

namespace qvsslinit {

/// A critical section that can say, at the end of the process, that it is no more: a host's own
/// static objects and exit handlers may run after the library's.
class SingletonMutex : public qv::kit::osdep::CriticalSection {
 public:
  ~SingletonMutex() { gone_ = true; }

  static bool isGone() { return gone_; }

 private:
  static std::atomic<bool> gone_;
};

/// Guards the making of the singleton and every release of a handle. Taken before the singleton's
/// own lock, never after it.
extern SingletonMutex g_SingletonMutex;

}  // namespace qvsslinit
