#pragma once

#include <atomic>
#include <cstdint>

#include "kit/osdep/CriticalSection.h"

namespace qvsslinit {

/// The static locks handed to OpenSSL, one critical section each.
///
/// An OpenSSL that stays in memory may call back after the locks are gone, so any thread may ask
/// for a lock at any time. Making and destroying locks is for one thread at a time.
class LockArray {
 public:
  LockArray() = default;
  LockArray(const LockArray&) = delete;
  LockArray& operator=(const LockArray&) = delete;
  ~LockArray();

  /// Replaces the locks by count new ones, at least 1. Throws std::bad_alloc, and then keeps the
  /// old ones.
  void create(std::int32_t count);

  /// Destroys the locks, the last first.
  void destroy();

  /// The lock with this index, null while there are none. index is taken on trust: it is OpenSSL's,
  /// and within the count that OpenSSL asked for.
  const qv::kit::osdep::CriticalSection* at(int index) const;

 private:
  void replace(qv::kit::osdep::CriticalSection* locks);

  std::atomic<qv::kit::osdep::CriticalSection*> locks_{nullptr};
};

}  // namespace qvsslinit
