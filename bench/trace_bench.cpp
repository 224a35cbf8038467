#include <pthread.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>
#include <sys/time.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Bench.h"
#include "source/client/ModuleLogger.h"
#include "source/client/MyTraceLogger.h"
#include "source/client/TraceTagEE.h"

namespace qv::bench {
namespace {

using traceengine::MyTraceLogger;
using traceengine::TraceTagEE;

constexpr int kOff = 4;
constexpr int kOn = 5;
constexpr const char* kFunction = "SslInitializerImplementation::initialize";

/// The module's logger, over the engine of bench/engine.
MyTraceLogger& Logger() {
  static MyTraceLogger logger("bench");
  qvsslinit::g_pGLogger = &logger;
  if (!logger.XTraceTagIsEnabled(kOn)) throw std::runtime_error("the trace engine is not there");
  return logger;
}

[[gnu::noinline]] void Trace(const char* what) {
  benchmark::DoNotOptimize(what);
}

/// The least that a scope can come down to: is the tag on?
bool g_isOn = false;

void DisabledScope(benchmark::State& state) {
  Logger();
  for (auto _ : state) {
    {
      const TraceTagEE scope(kOff, kFunction);
      benchmark::ClobberMemory();
    }
    benchmark::ClobberMemory();
  }
}

void TwoLoads(benchmark::State& state) {
  benchmark::DoNotOptimize(g_isOn);
  for (auto _ : state) {
    if (g_isOn) Trace("In");
    benchmark::ClobberMemory();
    if (g_isOn) Trace("Out");
    benchmark::ClobberMemory();
  }
}

/// Takes the lines and lets them go.
class DiscardingSink final : public spdlog::sinks::base_sink<std::mutex> {
 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    benchmark::DoNotOptimize(line.data());
  }
  void flush_() override {}
};

spdlog::logger& SpdLogger() {
  static spdlog::logger logger("bench", std::make_shared<DiscardingSink>());
  return logger;
}

// Whoever minds the time asks for the level first: a bare call to debug() is left a call by the
// compiler, and asks only then.
void DisabledSpdlog(benchmark::State& state) {
  spdlog::logger& logger = SpdLogger();
  Require(!logger.should_log(spdlog::level::debug) && logger.should_log(spdlog::level::info));
  for (auto _ : state) {
    if (logger.should_log(spdlog::level::debug)) logger.debug("{} In", kFunction);
    benchmark::ClobberMemory();
    if (logger.should_log(spdlog::level::debug)) logger.debug("{} Out", kFunction);
    benchmark::ClobberMemory();
  }
}

void Record(benchmark::State& state) {
  MyTraceLogger& logger = Logger();
  int number = 0;
  for (auto _ : state) {
    XTraceLog(&logger, kOn, kFunction, "%s %d of %d", "Certificate", ++number, 100);
  }
}

void SpdlogRecord(benchmark::State& state) {
  spdlog::logger& logger = SpdLogger();
  int number = 0;
  for (auto _ : state) {
    logger.info("{} | {} {} of {}", kFunction, "Certificate", ++number, 100);
  }
}

[[gnu::noinline, gnu::format(printf, 2, 3)]] void Print(char (&line)[512], const char* format,
                                                        ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
}

void PrintAndLookAtClock(benchmark::State& state) {
  int number = 0;
  for (auto _ : state) {
    char line[512];
    Print(line, "t=%lx | %s | %s | %s | %s %d of %d", static_cast<unsigned long>(pthread_self()),
          "bench", "On", kFunction, "Certificate", ++number, 100);
    timeval now{};
    ::gettimeofday(&now, nullptr);
    benchmark::DoNotOptimize(now);
    benchmark::DoNotOptimize(line);
  }
}

// The names and numbers of as many tags as a logger can have.
std::string TagName(int id) {
  return "Component" + std::to_string(id);
}
constexpr int kTags = MyTraceLogger::kTagCount;

void TagMemory(benchmark::State& state) {
  char directory[] = "/tmp/qvsslinit-bench-XXXXXX";
  Require(::mkdtemp(directory) != nullptr);
  const std::string file = std::string(directory) + "/tags.cfg";
  {
    std::ofstream tags(file);
    for (int id = 0; id < kTags; ++id)
      tags << TagName(id) << " : " << id << " : yes\n";
  }
  ::setenv("QV_BENCH_TAGS", directory, 1);
  constexpr int kLoggers = 100;
  std::vector<std::unique_ptr<MyTraceLogger>> loggers;
  for (auto _ : state) {
    const long before = ResidentBytes();
    for (int i = 0; i < kLoggers; ++i)
      loggers.push_back(std::make_unique<MyTraceLogger>("tags"));
    state.counters["bytes"] = static_cast<double>(ResidentBytes() - before) / kLoggers / kTags;
  }
  Require(loggers.back()->XTraceTagIsEnabled(kTags - 1));
  ::unsetenv("QV_BENCH_TAGS");
  std::filesystem::remove_all(directory);
}

void MemoryOfTagData(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    bytes = 0;
    for (int id = 0; id < kTags; ++id)
      bytes += TagName(id).size() + sizeof(std::int32_t);
  }
  state.counters["bytes"] = static_cast<double>(bytes) / kTags;
}

}  // namespace

void AddBenchmarks() {
  Add("Scope", DisabledScope);
  Add("Scope/loads", TwoLoads);
  Add("Scope/spdlog", DisabledSpdlog);
  Add("Record", Record);
  Add("Record/spdlog", SpdlogRecord);
  Add("Record/vsnprintf", PrintAndLookAtClock);
  AddThreads("RecordsOfOne", Record, 1);
  AddThreads("RecordsOfTwo", Record, 2);
  AddThreads("PrintingOfOne", PrintAndLookAtClock, 1);
  AddThreads("PrintingOfTwo", PrintAndLookAtClock, 2);
  Add("TagMemory", TagMemory);
  Add("TagMemory/data", MemoryOfTagData);
}

}  // namespace qv::bench
