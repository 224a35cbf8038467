#pragma once

#include <chrono>

#include "engine/BlockPool.h"
#include "engine/EngineSettings.h"
#include "engine/RecordQueue.h"
#include "engine/Writer.h"

namespace qv::traceengine {

/// All that the engine has between its first reference and its last.
class TraceSession {
 public:
  /// Throws std::bad_alloc.
  explicit TraceSession(const EngineSettings& settings)
      : settings_(settings), pool_(settings.blocks), writer_(queue_, pool_, settings.outputPath) {}
  TraceSession(const TraceSession&) = delete;
  TraceSession& operator=(const TraceSession&) = delete;
  ~TraceSession() = default;

  const EngineSettings& settings() const noexcept { return settings_; }
  LoggingBlock* getFreeBlock() noexcept { return pool_.giveOut(); }
  void sendBlock(LoggingBlock* block) noexcept;
  void noteDroppedRecord() noexcept;

  /// As Writer::finish().
  bool finish(std::chrono::milliseconds patience) noexcept { return writer_.finish(patience); }
  /// After finish() gave false: lets a session of the heap go when its thread ends.
  void abandon() noexcept;

  /// In a new child process: what was queued is the parent's to write.
  void becomeChild() noexcept;

 private:
  EngineSettings settings_;
  BlockPool pool_;
  RecordQueue queue_;
  Writer writer_;
};

}  // namespace qv::traceengine
