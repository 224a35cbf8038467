#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace qv::tests {

/// Stands between the code under test and malloc and realloc as long as the object lives: lets
/// chosen calls fail and keeps the sizes that were asked for. For programs that link
/// qv_failing_allocator; only calls from code linked into the program itself pass here, those of
/// shared libraries do not. Nor does operator new, unless it is asked for. One object at a time,
/// one thread.
class FailingAllocator {
 public:
  FailingAllocator();
  ~FailingAllocator();
  FailingAllocator(const FailingAllocator&) = delete;
  FailingAllocator& operator=(const FailingAllocator&) = delete;

  /// Only the nth call from now fails; 1 is the next.
  void FailCall(std::uint32_t n);
  /// The nth call from now and all that follow fail.
  void FailFrom(std::uint32_t n);
  /// Every call for this many bytes or more fails, so that huge requests cost nothing.
  void FailSizesFrom(std::size_t bytes);
  /// Every call for this many bytes or more gets a block of one byte, for code that must believe in
  /// a huge one without touching it.
  void PretendSizesFrom(std::size_t bytes);
  /// Every call leaves this in errno, as a successful call may.
  void SetErrno(int error);
  /// Calls action in the next call, once, as another thread might come in between there.
  void Interrupt(std::function<void()> action);
  /// operator new counts and fails as malloc does, in all its forms. Whatever the test itself
  /// builds then counts too.
  void IncludeNew();
  /// All of the above is over.
  void Relent();

  /// Bytes asked for since the object was made, call by call, failed ones included.
  std::vector<std::size_t> sizes() const;
};

}  // namespace qv::tests
