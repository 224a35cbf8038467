#include <pthread.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>
#include <sys/time.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <stdexcept>

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

/// What a scope comes down to: is there a logger, and is the tag on?
struct Flags {
  bool isOn = false;
};
Flags* g_flags = nullptr;

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
  static Flags flags;
  g_flags = &flags;
  for (auto _ : state) {
    if (g_flags->isOn) Trace("In");
    benchmark::ClobberMemory();
    if (g_flags->isOn) Trace("Out");
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

void DisabledSpdlog(benchmark::State& state) {
  spdlog::logger& logger = SpdLogger();
  for (auto _ : state) {
    logger.debug("{} In", kFunction);
    benchmark::ClobberMemory();
    logger.debug("{} Out", kFunction);
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
}

}  // namespace qv::bench
