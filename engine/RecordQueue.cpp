#include "engine/RecordQueue.h"

#include <new>

namespace qv::traceengine {

void RecordQueue::push(PooledBlock& block) noexcept {
  bool wasEmpty = false;
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    wasEmpty = first_ == nullptr;
    block.next = nullptr;
    (wasEmpty ? first_ : last_->next) = &block;
    last_ = &block;
  }
  if (wasEmpty) news_.notify_one();
}

void RecordQueue::noteDropped() noexcept {
  bool isNews = false;
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    ++dropped_;
    isNews = !dropIsNews_;
    dropIsNews_ = true;
  }
  if (isNews) news_.notify_one();
}

RecordQueue::Batch RecordQueue::take() noexcept {
  std::unique_lock<std::mutex> lock(mutex_);
  news_.wait(lock, [this] { return first_ != nullptr || dropIsNews_ || isClosed_; });
  const Batch batch{first_, dropped_, isClosed_};
  first_ = nullptr;
  last_ = nullptr;
  dropped_ = 0;
  dropIsNews_ = false;
  return batch;
}

void RecordQueue::noteDroppedQuietly(std::uint64_t records) noexcept {
  const std::lock_guard<std::mutex> guard(mutex_);
  dropped_ += records;
}

void RecordQueue::close() noexcept {
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    isClosed_ = true;
  }
  news_.notify_one();
}

void RecordQueue::open() noexcept {
  const std::lock_guard<std::mutex> guard(mutex_);
  isClosed_ = false;
}

void RecordQueue::becomeChild() noexcept {
  // Threads of the parent may have held the lock or waited: nothing here is left as it was, and
  // nothing can be destroyed.
  new (this) RecordQueue;
}

}  // namespace qv::traceengine
