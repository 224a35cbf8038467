#pragma once

#include <atomic>

namespace qv::traceengine {

/// Tells a process that was forked off from its parent, before any of its own code has run: by a
/// page of memory that the system gives a child empty. The handlers that are called in a child are
/// too late for that: those that the host registered earlier run first, and may trace.
class ForkMark {
 public:
  constexpr ForkMark() noexcept = default;
  ForkMark(const ForkMark&) = delete;
  ForkMark& operator=(const ForkMark&) = delete;
  /// The page stays as long as the process.
  ~ForkMark() = default;

  /// Once, before any other thread asks. False where the system has no such page: then nothing is
  /// ever told.
  bool prepare() noexcept;
  bool isPrepared() const noexcept { return page_ != nullptr; }

  /// True once in every new child process.
  bool takeIsChild() noexcept {
    return page_ != nullptr && page_->load(std::memory_order_relaxed) == kEmpty &&
           page_->exchange(kMarked) == kEmpty;
  }

 private:
  static constexpr char kEmpty = 0;
  static constexpr char kMarked = 1;

  std::atomic<char>* page_ = nullptr;
};

}  // namespace qv::traceengine
