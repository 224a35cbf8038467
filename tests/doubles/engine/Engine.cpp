#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <set>

#include "source/client/ITraceEngine.h"
#include "source/utils/LoggingBlock.h"
#include "tests/doubles/ObjectLayout.h"
#include "tests/doubles/engine/EngineJournal.h"

// A trace engine as somebody else would build it: from the headers alone, without any library of
// ours. What the headers declare without defining is reached by its layout in memory.

namespace qv::tests {
namespace {

EngineJournal& Journal() {
  return EngineJournal::instance();
}

/// Thrown by the engine, and known to nobody else: its code goes with the library.
class EngineError {
 public:
  EngineError() = default;
  EngineError(const EngineError&) { ++copies_; }
  EngineError& operator=(const EngineError&) = delete;
  ~EngineError() { Journal().note("forgotten"); }

 private:
  int copies_ = 0;
};

void Perform(const char* operation) {
  Journal().note(operation);
  if (Journal().script.interruptedIn == operation) {
    pthread_testcancel();
    errno = ERANGE;
  }
  if (Journal().script.throwsIn == operation) throw EngineError();
}

class BlockFactory final : public traceengine::ILoggingBlockFactory {
 public:
  traceengine::LoggingBlock* giveOut() override {
    auto* const block = new traceengine::LoggingBlock(this);
    auto layout = LayoutOf<LoggingBlockLayout>(*block);
    layout.used = Journal().script.used;
    layout.enginesOwn = EngineJournal::kEnginesOwn;
    layout.type = EngineJournal::kType;
    std::memset(layout.payload, '#', sizeof(layout.payload));
    SetLayout(*block, layout);
    return block;
  }
  void takeBack(traceengine::LoggingBlock* block) override { delete block; }
};

BlockFactory g_Factory;

/// What nobody has released when the library ends goes with it.
class Transient {
 public:
  Transient() { all().insert(this); }
  Transient(const Transient&) = delete;
  Transient& operator=(const Transient&) = delete;
  virtual ~Transient() { all().erase(this); }

  static std::set<Transient*>& all() {
    static std::set<Transient*> transients;
    return transients;
  }
};

/// Counts references aloud and deletes itself with the last one.
template <typename Interface>
class Counted : public Interface, private Transient {
 public:
  virtual ~Counted() = default;

  void addRef() override {
    Perform("addRef");
    ++references_;
  }
  void release() override {
    Perform("release");
    if (--references_ > 0) return;
    Journal().note("destroyed");
    delete this;
  }

 private:
  std::atomic<int> references_{0};
};

struct ReturnBlock {
  void operator()(traceengine::LoggingBlock* block) const { block->returnToFactory(); }
};

class Engine : public Counted<traceengine::ITraceEngine> {
 public:
  void sendBlock(traceengine::LoggingBlock* block) override {
    const std::unique_ptr<traceengine::LoggingBlock, ReturnBlock> owned(block);
    Journal().keep(LayoutOf<LoggingBlockLayout>(*block));
    Perform("sendBlock");
  }
  traceengine::LoggingBlock* getFreeBlock() override {
    Perform("getFreeBlock");
    return Journal().script.hasBlocks ? g_Factory.giveOut() : nullptr;
  }
  bool showTagNames() override {
    Perform("showTagNames");
    return Journal().script.showTagNames;
  }
  void getConfigDirectory(kit::WString& directory) override {
    Perform("getConfigDirectory");
    if (!Journal().script.hasDirectory) return;
    const std::wstring& text = Journal().script.configDirectory;
    auto layout = LayoutOf<WideStringLayout>(directory);
    std::free(layout.begin);
    layout.begin = static_cast<wchar_t*>(std::malloc((text.size() + 1) * sizeof(wchar_t)));
    std::wmemcpy(layout.begin, text.c_str(), text.size() + 1);
    layout.end = layout.capacityEnd = layout.begin + text.size();
    SetLayout(directory, layout);
  }
  void noteDroppedRecord() override { Perform("noteDroppedRecord"); }
};

class SomethingElse : public Counted<kit::IRefCounted> {
 public:
  virtual void otherOperation() { Perform("otherOperation"); }
};

struct EndOfLibrary {
  EndOfLibrary() { Transient::all(); }  // which thereby outlives this object
  ~EndOfLibrary() {
    while (!Transient::all().empty())
      delete *Transient::all().begin();
    Journal().note("unloaded");
  }
} g_EndOfLibrary;

/// The entry point, under its name in those variants that have one.
kit::IRefCounted* Enter(unsigned long version, kit::StatusChain& status) {
  using Entry = EngineScript::Entry;
  const EngineScript& script = Journal().script;
  auto layout = LayoutOf<StatusChainLayout>(status);
  char call[64];
  std::snprintf(call, sizeof call, "GetInterface(%lu) at %08X", version,
                static_cast<unsigned>(layout.current.code));
  Journal().note(call);
  if (script.onEntry != nullptr) script.onEntry();
  if (script.throwsIn == "GetInterface") throw EngineError();
  if (script.entry != Entry::LeavesStatus) {
    layout.current.code = script.entryCode;
    SetLayout(status, layout);
  }
  if (script.entry == Entry::Nothing) return nullptr;
  if (script.entry == Entry::OtherInterface) return new SomethingElse;
  return new Engine;
}

}  // namespace
}  // namespace qv::tests

extern "C" __attribute__((visibility("default"))) qv::kit::IRefCounted* QV_ENGINE_ENTRY_POINT(
    unsigned long version, qv::kit::StatusChain& status) {
  return qv::tests::Enter(version, status);
}
