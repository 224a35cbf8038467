#include "tools/doctor/BuiltInEngine.h"

#include <dlfcn.h>

#include <cstring>
#include <new>
#include <string_view>

#include "engine/TimeText.h"
#include "kit/IRefCounted.h"
#include "kit/StatusChain.h"
#include "source/client/ITraceEngine.h"
#include "source/utils/LoggingBlock.h"
#include "tools/doctor/ChildProcess.h"

namespace qv::tools::doctor {
namespace {

using kit::WString;
using traceengine::ITraceEngine;
using traceengine::LoggingBlock;

std::string UtcText(const kit::AbsTime& time) {
  char text[traceengine::kLongestTimeText];
  return std::string(text, traceengine::WriteTimeText(time, text));
}

/// Lives as long as the process, so nobody needs to count who refers to it.
class BuiltInEngine final : public ITraceEngine {
 public:
  void addRef() override {}
  void release() override {}

  void sendBlock(LoggingBlock* block) override {
    const auto length = static_cast<std::size_t>(block->used());
    const std::string record(block->payload(), ::strnlen(block->payload(), length));
    Report({{"time", UtcText(block->timeStamp())}, {"record", record}});
    delete block;
  }
  LoggingBlock* getFreeBlock() override { return new (std::nothrow) LoggingBlock(nullptr); }
  bool showTagNames() override { return true; }
  void getConfigDirectory(WString& directory) override { directory = directory_.c_str(); }
  void noteDroppedRecord() override {}

  std::string directory_;
};

BuiltInEngine g_engine;
bool g_isInstalled = false;

/// Whether a search for a trace engine asks for this file.
bool IsEngineFile(const char* file) {
  static constexpr std::string_view kStem = "libqv_traceengine.";
  const std::string_view path = file;
  return path.substr(path.rfind('/') + 1, kStem.size()) == kStem;
}

}  // namespace

void InstallBuiltInEngine(const std::string& directory) {
  g_engine.directory_ = directory;
  g_isInstalled = true;
}

}  // namespace qv::tools::doctor

// Exported from the program, so that the library's searches come here.
extern "C" {

[[gnu::visibility("default")]] qv::kit::IRefCounted* GetInterface(unsigned long /*version*/,
                                                                  qv::kit::StatusChain& status) {
  qv::tools::doctor::Report({{"engine_used", true}});
  status.clear();
  return &qv::tools::doctor::g_engine;
}

[[gnu::visibility("default")]] void* dlopen(const char* file, int mode) noexcept {
  using Dlopen = void* (*)(const char*, int);
  static const auto kSystems = reinterpret_cast<Dlopen>(::dlsym(RTLD_NEXT, "dlopen"));
  const bool isOurs =
      qv::tools::doctor::g_isInstalled && file != nullptr && qv::tools::doctor::IsEngineFile(file);
  return kSystems(isOurs ? nullptr : file, mode);
}
}
