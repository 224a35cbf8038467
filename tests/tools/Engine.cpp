// A trace engine for the doctor to find: it names the directory in QVTEST_TAG_DIRECTORY, and
// QVTEST_ENGINE says what is the matter with it.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "kit/IRefCounted.h"
#include "kit/StatusChain.h"
#include "source/client/ITraceEngine.h"

namespace {

using qv::kit::IRefCounted;
using qv::kit::StatusChain;
using qv::kit::WString;
using qv::traceengine::ITraceEngine;
using qv::traceengine::LoggingBlock;

class Engine final : public ITraceEngine {
 public:
  void addRef() override {}
  void release() override {}
  // Takes no records: whoever sees one has been given to this engine and not to another.
  void sendBlock(LoggingBlock* /*block*/) override { std::abort(); }
  LoggingBlock* getFreeBlock() override { return nullptr; }
  bool showTagNames() override { return false; }
  void getConfigDirectory(WString& directory) override {
    directory = std::getenv("QVTEST_TAG_DIRECTORY");
  }
  void noteDroppedRecord() override {}
};

class SomethingElse final : public IRefCounted {
 public:
  void addRef() override {}
  void release() override {}
};

bool Is(const char* matter) {
  const char* value = std::getenv("QVTEST_ENGINE");
  return value != nullptr && std::strcmp(value, matter) == 0;
}

Engine g_engine;
SomethingElse g_somethingElse;

}  // namespace

extern "C" [[gnu::visibility("default")]] IRefCounted* GetInterface(unsigned long /*version*/,
                                                                    StatusChain& status) {
  if (Is("crashing")) std::abort();
  if (Is("hanging")) ::pause();
  if (Is("failing")) {
    status.set(-77);
    return nullptr;
  }
  if (Is("forgetful")) {
    // Another thing that did not work, and that it does without.
    ::dlopen("/nowhere/extra.so", RTLD_NOW);
    return &g_engine;
  }
  status.clear();
  if (Is("another")) return &g_somethingElse;
  return &g_engine;
}
