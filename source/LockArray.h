#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "kit/osdep/CriticalSection.h"

namespace qvsslinit {

/// The static locks handed to OpenSSL, one critical section each.
///
/// An OpenSSL that stays in memory may call back while the locks go and after that, so any thread
/// may enter and leave at any time. Making and destroying locks is for one thread at a time.
class LockArray {
 public:
  LockArray() = default;
  LockArray(const LockArray&) = delete;
  LockArray& operator=(const LockArray&) = delete;
  /// No thread may use the locks any more.
  ~LockArray();

  /// Replaces the locks by count new ones, at least 1. Throws std::bad_alloc, and then keeps the
  /// old ones.
  void create(std::int32_t count);

  /// Destroys the locks, the last first. Nobody enters them any more; but while a thread holds or
  /// waits for one they stay in memory, so that it can be left.
  void destroy();

  /// Enters the lock with this index; does nothing while there are none. index is taken on trust:
  /// it is OpenSSL's, and within the count that OpenSSL asked for.
  void enter(int index) const;

  /// Leaves the lock with this index if the calling thread holds it, be it one that has been
  /// destroyed since.
  void leave(int index) const;

  /// The lock with this index, null while there are none. Not to be asked for while another thread
  /// makes or destroys locks.
  const qv::kit::osdep::CriticalSection* at(int index) const;

 private:
  struct Locks;

  void replace(Locks* locks);
  void freeReplaced();
  const qv::kit::osdep::CriticalSection* findHeld(int index, bool isReplacedInReach) const;

  std::atomic<Locks*> current_{nullptr};
  /// Those that somebody may still use, the latest first.
  std::atomic<Locks*> replaced_{nullptr};
  /// How many enter or leave at the moment or are within a lock. Far below 0 while nobody is and
  /// what was replaced is being freed.
  mutable std::atomic<std::int32_t> users_{0};
};

}  // namespace qvsslinit
