#pragma once

#include <pthread.h>

#include "source/utils/LoggingBlock.h"

namespace qv::traceengine {

/// A logging block with what the engine itself wants to know about it.
class PooledBlock final : public LoggingBlock {
 public:
  enum class State { kFree, kGivenOut, kQueued };

  using LoggingBlock::LoggingBlock;

  /// The block behind it in the list that it is in.
  PooledBlock* next = nullptr;
  State state = State::kFree;
  /// The thread that the block was given to.
  pthread_t holder{};
};

}  // namespace qv::traceengine
