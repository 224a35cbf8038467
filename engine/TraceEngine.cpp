#include "engine/TraceEngine.h"

#include <pthread.h>

#include <chrono>
#include <new>
#include <type_traits>

namespace qv::traceengine {
namespace {

/// How long the end of a process, or of the last reference, waits for a file that takes nothing.
constexpr std::chrono::milliseconds kPatience{2000};

// Never destroyed: threads may still trace while the process ends.
TraceEngine g_engine;
static_assert(std::is_trivially_destructible_v<TraceEngine>);

// The parent's side needs nothing: no lock is held over a fork, so that no handler of the host can
// meet one that the fork itself holds.
void TellOfChild() noexcept {
  g_engine.tellOfFork();
}

/// Comes before any thread can hold a lock of the engine: a process that is forked off while one
/// does always learns that it is one.
[[gnu::constructor]] void AskToBeToldOfChildren() noexcept {
  g_engine.prepare(pthread_atfork(nullptr, nullptr, &TellOfChild) == 0);
}

/// The host keeps its reference to the end of the process. This runs after all of its exit
/// handlers.
[[gnu::destructor]] void FlushAtExit() noexcept {
  g_engine.flush();
}

}  // namespace

TraceEngine& TraceEngine::Instance() noexcept {
  return g_engine;
}

void TraceEngine::prepare(bool isToldOfForks) noexcept {
  isToldOfForks_ = forkMark_.prepare() || isToldOfForks;
}

bool TraceEngine::start() noexcept {
  becomeChildIfNew();
  const std::lock_guard<std::mutex> guard(mutex_);
  return startLocked();
}

bool TraceEngine::startLocked() noexcept {
  if (session_ != nullptr) return true;
  if (!isToldOfForks_) return false;
  try {
    session_ = new TraceSession(EngineSettings::FromEnvironment());
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

void TraceEngine::flush() noexcept {
  becomeChildIfNew();
  const std::lock_guard<std::mutex> guard(mutex_);
  if (session_ != nullptr) session_.load()->finish(kPatience);
}

void TraceEngine::tellOfFork() noexcept {
  if (forkMark_.isPrepared()) {
    becomeChildIfNew();
  } else {
    becomeChild();
  }
}

void TraceEngine::becomeChild() noexcept {
  new (&mutex_) std::mutex;
  if (session_ != nullptr) session_.load()->becomeChild();
}

void TraceEngine::addRef() noexcept {
  becomeChildIfNew();
  const std::lock_guard<std::mutex> guard(mutex_);
  ++references_;
  // The last reference may have gone since GetInterface gave the pointer to this caller.
  startLocked();
}

void TraceEngine::release() noexcept {
  becomeChildIfNew();
  TraceSession* session = nullptr;
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (--references_ == 0) session = session_.exchange(nullptr);
  }
  if (session == nullptr) return;
  if (session->finish(kPatience)) {
    delete session;
  } else {
    // Its thread is stuck in the file and still works on it.
    session->abandon();
  }
}

void TraceEngine::sendBlock(LoggingBlock* block) noexcept {
  becomeChildIfNew();
  if (TraceSession* session = session_) session->sendBlock(block);
}

LoggingBlock* TraceEngine::getFreeBlock() noexcept {
  becomeChildIfNew();
  TraceSession* session = session_;
  return session != nullptr ? session->getFreeBlock() : nullptr;
}

bool TraceEngine::showTagNames() noexcept {
  const TraceSession* session = session_;
  return session == nullptr || session->settings().showTagNames;
}

void TraceEngine::getConfigDirectory(kit::WString& directory) noexcept {
  const TraceSession* session = session_;
  if (session == nullptr) return;
  try {
    directory = session->settings().configDirectory;
  } catch (const std::bad_alloc&) {
    return;
  }
}

void TraceEngine::noteDroppedRecord() noexcept {
  becomeChildIfNew();
  if (TraceSession* session = session_) session->noteDroppedRecord();
}

}  // namespace qv::traceengine
