#include "engine/TraceSession.h"

namespace qv::traceengine {

void TraceSession::sendBlock(LoggingBlock* block) noexcept {
  auto* const pooled = static_cast<PooledBlock*>(block);
  // A block that is not the caller's to send, for it was sent before.
  if (pooled == nullptr || pooled->state != PooledBlock::State::kGivenOut) return;
  pooled->state = PooledBlock::State::kQueued;
  queue_.push(*pooled);
  writer_.ensureRuns();
}

void TraceSession::noteDroppedRecord() noexcept {
  queue_.noteDropped();
  writer_.ensureRuns();
}

void TraceSession::abandon() noexcept {
  writer_.abandon({this, [](void* session) { delete static_cast<TraceSession*>(session); }});
}

void TraceSession::becomeChild() noexcept {
  pool_.becomeChild();
  queue_.becomeChild();
  writer_.becomeChild();
}

}  // namespace qv::traceengine
