#pragma once

#include <cstddef>
#include <vector>

namespace qv::tests {

/// Stands between the code under test and the pthread calls that make, lock and try mutexes as long
/// as the object lives. For programs that link qv_failing_mutexes; only calls from code linked into
/// the program itself pass here. One object at a time, one thread.
class FailingMutexes {
 public:
  enum class Call { kAttributeInit, kAttributeType, kMutexInit, kLock, kTryLock };

  FailingMutexes();
  ~FailingMutexes();
  FailingMutexes(const FailingMutexes&) = delete;
  FailingMutexes& operator=(const FailingMutexes&) = delete;

  /// From now on call does nothing but give error; with an error of 0 it works again.
  void Fail(Call call, int error);

  /// Attribute objects and mutexes that were made since the object was, less those destroyed.
  int attributesAlive() const;
  int mutexesAlive() const;

  /// The mutexes that were destroyed, one after the other: the place at which each was made,
  /// counted from 0. Mutexes beyond the first few hundred are left out.
  std::vector<std::size_t> destroyed() const;
};

}  // namespace qv::tests
