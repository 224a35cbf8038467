#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "engine/BlockPool.h"
#include "engine/LineBatch.h"
#include "engine/OutputFile.h"
#include "engine/RecordQueue.h"

namespace qv::traceengine {

/// The thread that writes what is in the queue, and the file that it writes to. Any thread may
/// call.
class Writer {
 public:
  /// Owns something, and with it the writer.
  using Owner = std::unique_ptr<void, void (*)(void*)>;

  /// queue and pool must outlive the writer.
  Writer(RecordQueue& queue, BlockPool& pool, std::string outputPath) noexcept
      : queue_(queue), pool_(pool), file_(std::move(outputPath)) {}
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  /// For a writer without a thread.
  ~Writer() = default;

  /// Starts the thread unless it runs. When the system has no thread to give, the next call tries
  /// again. No signal handler of the host ever runs in the thread.
  void ensureRuns() noexcept;

  /// Lets the thread write all that is in the queue, and the count of dropped records, and waits
  /// for its end. False when patience is over before that: then the thread is stuck in a file that
  /// takes nothing, and still needs the writer and all that this refers to. What was left because
  /// the system had no thread to give is written here, with the same patience: what the file has
  /// not taken then is dropped.
  bool finish(std::chrono::milliseconds patience) noexcept;
  /// After finish() gave false: hands the thread what the writer is part of. It goes when the
  /// thread ends.
  void abandon(Owner owner) noexcept;

  /// In a new child process, which has no such thread: it starts when it is needed.
  void becomeChild() noexcept;

 private:
  static void* Run(void* writer) noexcept;
  void writeUntilClosed(OutputFile::Time deadline) noexcept;
  void writeHere(std::unique_lock<std::mutex>& lock, OutputFile::Time deadline) noexcept;
  Owner end() noexcept;
  void writeBlocks(PooledBlock* first, LineBatch& lines) noexcept;
  void writeDropCount(std::uint64_t dropped, LineBatch& lines) noexcept;

  RecordQueue& queue_;
  BlockPool& pool_;
  OutputFile file_;
  std::mutex mutex_;
  std::condition_variable end_;
  std::atomic<bool> runs_{false};
  bool hasEnded_ = false;
  Owner owner_{nullptr, [](void*) {}};
  pthread_t thread_{};
};

}  // namespace qv::traceengine
