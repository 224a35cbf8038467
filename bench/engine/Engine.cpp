// A trace engine that takes and gives blocks and does nothing else: each thread has a block of its
// own. The environment may name another directory of tag files, QV_BENCH_TAGS.
#include <cstdlib>

#include "kit/StatusChain.h"
#include "source/client/ITraceEngine.h"
#include "source/utils/LoggingBlock.h"

namespace qv::bench {
namespace {

class Factory final : public traceengine::ILoggingBlockFactory {
 public:
  traceengine::LoggingBlock* giveOut() override {
    thread_local traceengine::LoggingBlock block(this);
    return &block;
  }
  void takeBack(traceengine::LoggingBlock* block) override { block->clear(); }
};

class BenchEngine final : public traceengine::ITraceEngine {
 public:
  void addRef() override {}
  void release() override {}
  void sendBlock(traceengine::LoggingBlock* block) override { block->returnToFactory(); }
  traceengine::LoggingBlock* getFreeBlock() override { return factory_.giveOut(); }
  bool showTagNames() override { return true; }
  void getConfigDirectory(kit::WString& directory) override {
    const char* const other = std::getenv("QV_BENCH_TAGS");
    directory = kit::WString(other == nullptr ? QV_BENCH_TAGS : other);
  }
  void noteDroppedRecord() override {}

 private:
  Factory factory_;
};

}  // namespace
}  // namespace qv::bench

extern "C" [[gnu::visibility("default")]] qv::kit::IRefCounted* GetInterface(
    unsigned long /*version*/, qv::kit::StatusChain& status) {
  static qv::bench::BenchEngine engine;
  status.clear();
  return &engine;
}
