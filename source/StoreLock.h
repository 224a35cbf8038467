#pragma once

#include <sys/types.h>

#include <chrono>

#include "kit/StringBase.h"

namespace qvsslinit {

/// Keeps out the other processes that look after the same store: of two that make a pair at once,
/// the key of one and the certificate of the other might stay.
///
/// It is the directory itself that is locked, which leaves nothing on the disk. When the process
/// that took the lock ends, however it ends, the system takes the lock back, unless a child that it
/// forked meanwhile and that has executed no other program is still there: that one keeps it until
/// it ends too. One that holds it and is stopped keeps the others for their patience and no longer.
class StoreLock {
 public:
  /// A pair takes a fraction of a second to make; machines may be slow and busy.
  static constexpr std::chrono::seconds kPatience{10};

  /// Waits for the lock on directory, in small pauses that come to patience: a machine that is busy
  /// makes them longer, and with them the whole. The lock is not held afterwards when that was not
  /// enough, when directory cannot be opened, or where its file system knows no locks.
  explicit StoreLock(const qv::kit::String& directory,
                     std::chrono::milliseconds patience = kPatience) noexcept;
  StoreLock(const StoreLock&) = delete;
  StoreLock& operator=(const StoreLock&) = delete;

  /// Gives the lock back, but not in a child that was forked meanwhile: it is its parent's.
  ~StoreLock();

  bool isHeld() const noexcept { return state_ == State::Held; }

  /// Whether another process held it to the end of patience.
  bool isHeldByAnother() const noexcept { return state_ == State::HeldByAnother; }

 private:
  enum class State { Held, HeldByAnother, NotToBeHad };
  static State Lock(int descriptor, std::chrono::milliseconds patience) noexcept;

  pid_t owner_;  // known before the lock is waited for: a signal handler may fork meanwhile
  int descriptor_;
  State state_;
};

}  // namespace qvsslinit
