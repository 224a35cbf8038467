#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "engine/PooledBlock.h"

namespace qv::traceengine {

/// What waits to be written: filled blocks in the order in which they came, and the count of
/// records that were dropped. Any thread may add; one thread takes. The lock is held for a few
/// instructions at a time.
class RecordQueue {
 public:
  struct Batch {
    /// The first of a list of blocks, the oldest first; may be null.
    PooledBlock* first;
    /// How many records were dropped since the last batch.
    std::uint64_t dropped;
    /// Nothing more is waited for; a batch without any block is the last.
    bool isClosed;
  };

  RecordQueue() = default;
  RecordQueue(const RecordQueue&) = delete;
  RecordQueue& operator=(const RecordQueue&) = delete;
  ~RecordQueue() = default;

  void push(PooledBlock& block) noexcept;
  /// Counts a record as dropped.
  void noteDropped() noexcept;

  /// Waits for a block, for news of dropped records or for close(), and takes all that is there.
  Batch take() noexcept;
  /// Counts records as dropped, but lets take() wait for other reasons to tell of them.
  void noteDroppedQuietly(std::uint64_t records) noexcept;

  /// Lets take() return at once from now on.
  void close() noexcept;
  /// Lets take() wait again.
  void open() noexcept;

  /// In a new child process: forgets everything. It is the parent's to write.
  void becomeChild() noexcept;

 private:
  void wakeIf(bool isNews) noexcept;

  std::mutex mutex_;
  std::condition_variable news_;
  PooledBlock* first_ = nullptr;
  PooledBlock* last_ = nullptr;
  std::uint64_t dropped_ = 0;
  bool dropIsNews_ = false;
  bool isClosed_ = false;
};

}  // namespace qv::traceengine
