#pragma once

#include <memory>

#include "kit/osdep/UnixCriticalSection.h"

namespace qv::kit::osdep {

class IValidator;

/// A recursive mutex that knows its owner. Any thread may call any operation; the object must
/// outlive them all. Not copyable.
class CriticalSection {
 public:
  class Guard;

  /// Throws std::bad_alloc when the system has no memory for another mutex.
  CriticalSection();

  /// The validator is ignored: the same as CriticalSection().
  explicit CriticalSection(IValidator* validator);

  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  ~CriticalSection();

  /// Waits until no other thread holds the section. A thread that holds it enters again at once and
  /// must leave as often as it entered. Errors of the system are passed over: the section counts as
  /// entered.
  void enter() const { implementation_->enter(); }

  /// Enters if no other thread holds the section; true means entered, to be matched by a leave().
  /// Of the errors that the system may report, "busy" (EBUSY) and "invalid" (EINVAL) give false;
  /// any other counts as entered.
  bool tryEnter() const { return implementation_->tryEnter(); }

  /// Takes back one enter(). Does nothing in a thread that does not hold the section.
  void leave() const { implementation_->leave(); }

  /// Whether the calling thread holds the section.
  bool inOwningThread() const { return implementation_->inOwningThread(); }

 private:
  std::unique_ptr<UnixCriticalSection> implementation_;
};

/// Holds a critical section, which must outlive it, for the length of a scope.
class CriticalSection::Guard {
 public:
  /// Enters section.
  explicit Guard(const CriticalSection& section) : section_(section) { section_.enter(); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() { section_.leave(); }

 private:
  const CriticalSection& section_;
};

}  // namespace qv::kit::osdep
