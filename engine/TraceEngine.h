#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "engine/ForkMark.h"
#include "engine/TraceSession.h"
#include "source/client/ITraceEngine.h"

namespace qv::traceengine {

/// The one engine of a process: writes records to a file, in a thread of its own, and never lets a
/// caller wait for that file.
///
/// The object itself is always there, for GetInterface gives it out before anyone holds a
/// reference. What it needs to work, the session, is made then and goes with the last reference.
class TraceEngine final : public ITraceEngine {
 public:
  static TraceEngine& Instance() noexcept;

  constexpr TraceEngine() noexcept = default;
  TraceEngine(const TraceEngine&) = delete;
  TraceEngine& operator=(const TraceEngine&) = delete;
  ~TraceEngine() = default;

  /// Once, at load: whether tellOfFork() will be called in every new child process.
  void prepare(bool isToldOfForks) noexcept;
  /// Makes a session, with the settings that the environment holds now, unless there is one. False
  /// when the memory for that is missing, or was for prepare().
  bool start() noexcept;
  /// Waits until all that is queued has been written, but not longer than kPatience. The session
  /// stays.
  void flush() noexcept;
  /// In a new child process.
  void tellOfFork() noexcept;

  void addRef() noexcept override;
  /// The last reference given back ends the session: all that is queued is written first, unless
  /// that takes longer than kPatience.
  void release() noexcept override;
  void sendBlock(LoggingBlock* block) noexcept override;
  LoggingBlock* getFreeBlock() noexcept override;
  bool showTagNames() noexcept override;
  /// Leaves directory alone when there is no memory for it.
  void getConfigDirectory(kit::WString& directory) noexcept override;
  void noteDroppedRecord() noexcept override;

 private:
  bool startLocked() noexcept;
  void becomeChild() noexcept;
  /// First in every operation that takes a lock.
  void becomeChildIfNew() noexcept {
    if (forkMark_.takeIsChild()) becomeChild();
  }

  ForkMark forkMark_;
  std::mutex mutex_;
  std::atomic<TraceSession*> session_{nullptr};
  std::int32_t references_ = 0;
  bool isToldOfForks_ = false;
};

}  // namespace qv::traceengine
