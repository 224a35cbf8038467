#pragma once

#include <dlfcn.h>
#include <sched.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "kit/StatusChain.h"
#include "source/client/ITraceEngine.h"
#include "tests/engine/FilledBlock.h"

namespace qv::tests {

using GetInterfaceFunction = kit::IRefCounted*(unsigned long, kit::StatusChain&);

/// The engine as a client has it: loaded at run time, asked for its interface and held by one
/// reference. Its code stays in memory.
class LoadedEngine {
 public:
  LoadedEngine() : engine_(dynamic_cast<traceengine::ITraceEngine*>(Interface())) {
    if (engine_ == nullptr) throw std::runtime_error("no trace engine");
    engine_->addRef();
  }
  LoadedEngine(const LoadedEngine&) = delete;
  LoadedEngine& operator=(const LoadedEngine&) = delete;
  ~LoadedEngine() { release(); }

  /// Gives the reference back.
  void release() {
    if (engine_ != nullptr) engine_->release();
    engine_ = nullptr;
  }

  /// Keeps the reference, as a host does that just ends.
  void forget() { engine_ = nullptr; }

  /// Sends a record as a client does; false when there is no block for it.
  bool send(const std::string& text) const {
    traceengine::LoggingBlock* block = engine_->getFreeBlock();
    if (block == nullptr) {
      engine_->noteDroppedRecord();
      return false;
    }
    Fill(*block, text + '\0');
    engine_->sendBlock(block);
    return true;
  }

  /// Sends a record as soon as there is a block for it.
  void sendSurely(const std::string& text) const {
    traceengine::LoggingBlock* block = nullptr;
    while ((block = engine_->getFreeBlock()) == nullptr)
      ::sched_yield();
    Fill(*block, text + '\0');
    engine_->sendBlock(block);
  }

  traceengine::ITraceEngine* operator->() const { return engine_; }
  traceengine::ITraceEngine* get() const { return engine_; }

  static void* Library() {
    void* library = ::dlopen(QV_ENGINE_FILE, RTLD_NOW);
    if (library == nullptr) throw std::runtime_error(::dlerror());
    return library;
  }

  static GetInterfaceFunction* EntryPoint() {
    return reinterpret_cast<GetInterfaceFunction*>(::dlsym(Library(), "GetInterface"));
  }

  static kit::IRefCounted* Interface() {
    kit::StatusChain status;
    kit::IRefCounted* interface = EntryPoint()(0, status);
    return status.code() < 0 ? nullptr : interface;
  }

 private:
  traceengine::ITraceEngine* engine_;
};

}  // namespace qv::tests
