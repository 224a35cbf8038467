#pragma once

#include <cstdint>
#include <deque>
#include <mutex>

#include "engine/PooledBlock.h"

namespace qv::traceengine {

/// A fixed number of blocks. Any thread may take and return; the lock is held for a few
/// instructions at a time.
class BlockPool final : public ILoggingBlockFactory {
 public:
  /// Throws std::bad_alloc.
  explicit BlockPool(std::uint32_t blocks);
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  ~BlockPool() = default;

  LoggingBlock* giveOut() noexcept override;
  /// Empties the block and makes it free. A null or free block is passed over.
  void takeBack(LoggingBlock* block) noexcept override;

  /// In a new child process: takes all blocks back but those that the calling thread was given.
  /// The other threads that had some are not there, nor is the one that writes.
  void becomeChild() noexcept;

 private:
  void addFree(PooledBlock& block) noexcept;

  std::mutex mutex_;
  PooledBlock* free_ = nullptr;
  std::deque<PooledBlock> blocks_;
};

}  // namespace qv::traceengine
