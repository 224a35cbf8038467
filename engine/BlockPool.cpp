#include "engine/BlockPool.h"

#include <new>

namespace qv::traceengine {

BlockPool::BlockPool(std::uint32_t blocks) {
  for (std::uint32_t i = 0; i < blocks; ++i)
    addFree(blocks_.emplace_back(this));
}

LoggingBlock* BlockPool::giveOut() noexcept {
  const std::lock_guard<std::mutex> guard(mutex_);
  PooledBlock* block = free_;
  if (block == nullptr) return nullptr;
  free_ = block->next;
  block->holder = pthread_self();
  block->state = PooledBlock::State::kGivenOut;
  return block;
}

void BlockPool::takeBack(LoggingBlock* block) noexcept {
  auto* const pooled = static_cast<PooledBlock*>(block);
  const std::lock_guard<std::mutex> guard(mutex_);
  if (pooled == nullptr || pooled->state == PooledBlock::State::kFree) return;
  addFree(*pooled);
}

void BlockPool::becomeChild() noexcept {
  // Some thread of the parent may have held the lock, in the middle of a change to the list: both
  // begin anew.
  new (&mutex_) std::mutex;
  free_ = nullptr;
  for (PooledBlock& block : blocks_) {
    const bool isHeldHere = block.state == PooledBlock::State::kGivenOut &&
                            pthread_equal(block.holder, pthread_self()) != 0;
    if (!isHeldHere) addFree(block);
  }
}

void BlockPool::addFree(PooledBlock& block) noexcept {
  block.clear();
  block.state = PooledBlock::State::kFree;
  block.next = free_;
  free_ = &block;
}

}  // namespace qv::traceengine
