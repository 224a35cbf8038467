#include "engine/Writer.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <new>
#include <utility>

#include "engine/RecordLine.h"
#include "engine/TimeText.h"
#include "kit/osdep/CancellationDeferral.h"
#include "kit/osdep/CurrentSystemTime.h"
#include "kit/osdep/WriteSignalGuard.h"

namespace qv::traceengine {
namespace {

static_assert(kLongestRecordLine <= OutputFile::kMostAtOnce, "a line is written in one piece");

/// Blocks all signals in the calling thread, and in threads that it starts, for the length of a
/// scope.
class SignalBlock {
 public:
  SignalBlock() noexcept {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former_);
  }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;
  ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

 private:
  sigset_t former_;
};

}  // namespace

void Writer::ensureRuns() noexcept {
  if (runs_.load(std::memory_order_acquire)) return;
  const std::lock_guard<std::mutex> guard(mutex_);
  if (runs_) return;
  hasEnded_ = false;
  const SignalBlock block;
  runs_ = pthread_create(&thread_, nullptr, &Writer::Run, this) == 0;
}

bool Writer::finish(std::chrono::milliseconds patience) noexcept {
  const kit::osdep::CancellationDeferral deferral;
  std::unique_lock<std::mutex> lock(mutex_);
  queue_.close();
  if (!runs_) writeHere(lock, OutputFile::Time::clock::now() + patience);
  if (!runs_) {
    queue_.open();
    return true;
  }
  if (!end_.wait_for(lock, patience, [this] { return hasEnded_; })) return false;
  if (!runs_) return true;
  pthread_join(thread_, nullptr);
  queue_.open();
  runs_ = false;
  return true;
}

/// Writes what was left for want of a thread. No thread starts meanwhile. The thread is the host's,
/// in which no signal is blocked.
void Writer::writeHere(std::unique_lock<std::mutex>& lock, OutputFile::Time deadline) noexcept {
  runs_ = true;
  hasEnded_ = false;
  lock.unlock();
  {
    const kit::osdep::WriteSignalGuard guard;
    writeUntilClosed(deadline);
  }
  lock.lock();
  runs_ = false;
  hasEnded_ = true;
  end_.notify_all();
}

void Writer::abandon(Owner owner) noexcept {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (hasEnded_) {
    pthread_join(thread_, nullptr);
  } else {
    pthread_detach(thread_);
    owner_ = std::move(owner);
  }
}

void Writer::becomeChild() noexcept {
  // The lock may have been held, and the condition waited for, in the parent.
  new (&mutex_) std::mutex;
  new (&end_) std::condition_variable;
  runs_ = false;
  file_.becomeChild();
}

void* Writer::Run(void* writer) noexcept {
  static_cast<Writer*>(writer)->writeUntilClosed(OutputFile::kNever);
  // An abandoned writer goes here.
  static_cast<Writer*>(writer)->end();
  return nullptr;
}

void Writer::writeUntilClosed(OutputFile::Time deadline) noexcept {
  file_.giveUpAt(deadline);
  LineBatch lines(file_);
  for (bool isLast = false; !isLast;) {
    const RecordQueue::Batch batch = queue_.take();
    writeBlocks(batch.first, lines);
    writeDropCount(batch.dropped + lines.takeDropped(), lines);
    isLast = batch.isClosed && batch.first == nullptr;
  }
}

/// Tells of the thread's end. Gives what it was abandoned with.
Writer::Owner Writer::end() noexcept {
  const std::lock_guard<std::mutex> guard(mutex_);
  hasEnded_ = true;
  end_.notify_all();
  return std::move(owner_);
}

void Writer::writeBlocks(PooledBlock* first, LineBatch& lines) noexcept {
  for (PooledBlock* block = first; block != nullptr;) {
    char line[kLongestRecordLine];
    const char* const end = WriteRecordLine(*block, line);
    PooledBlock* const next = block->next;
    // The text is here: the block is free before the file has taken it.
    pool_.takeBack(block);
    lines.add(line, static_cast<std::size_t>(end - line));
    block = next;
  }
  lines.write();
}

void Writer::writeDropCount(std::uint64_t dropped, LineBatch& lines) noexcept {
  if (dropped == 0) return;
  char line[kLongestTimeText + 64];
  char* const text = WriteTimeText(kit::osdep::CurrentSystemTime(), line);
  const int length =
      std::snprintf(text, 64, " records dropped: %llu (process %ld)\n",
                    static_cast<unsigned long long>(dropped), static_cast<long>(::getpid()));
  lines.add(line, static_cast<std::size_t>(text - line) + static_cast<std::size_t>(length));
  lines.write();
  // Told another time, when the file takes lines again.
  if (lines.takeDropped() != 0) queue_.noteDroppedQuietly(dropped);
}

}  // namespace qv::traceengine
