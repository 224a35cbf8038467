#pragma once

#include <atomic>

#include "kit/osdep/CriticalSection.h"

namespace qvsslinit {

/// A critical section that is made when the library is loaded. Where there is no memory for it
/// then, when nobody could be told, it is made when it is first needed; and at the end of the
/// process it can say that it is no more: a host's own static objects and exit handlers may run
/// after the library's.
class SingletonMutex {
 public:
  constexpr SingletonMutex() noexcept = default;
  SingletonMutex(const SingletonMutex&) = delete;
  SingletonMutex& operator=(const SingletonMutex&) = delete;
  ~SingletonMutex();

  /// Whether it can be entered: false when there is no memory for it, and once it is gone. Any
  /// thread may ask.
  bool isThere() noexcept { return section_ != nullptr || make(); }

  /// The section itself, which must be there.
  operator const qv::kit::osdep::CriticalSection&() const noexcept { return *section_.load(); }

 private:
  bool make() noexcept;

  // Outlives the object: it is asked about afterwards.
  static std::atomic<bool> gone_;

  std::atomic<const qv::kit::osdep::CriticalSection*> section_{nullptr};
};

/// Guards the making of the singleton and every release of a handle. Taken before the singleton's
/// own lock, never after it.
extern SingletonMutex g_SingletonMutex;

}  // namespace qvsslinit
