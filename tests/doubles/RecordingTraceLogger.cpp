#include "tests/doubles/RecordingTraceLogger.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>
#include <string>

#include "source/client/MyTraceLogger.h"

namespace {

std::mutex g_Mutex;
QvTestTraceSink g_Sink = nullptr;
void* g_Context = nullptr;
std::atomic<bool> g_Refuse{false};

__attribute__((format(printf, 3, 0))) void Record(const std::string& origin,
                                                  const char* functionName, const char* format,
                                                  std::va_list arguments) {
  const std::lock_guard<std::mutex> guard(g_Mutex);
  if (g_Sink == nullptr) return;
  // Takes no memory, so that tests may let it run out.
  char message[4096];
  std::vsnprintf(message, sizeof message, format, arguments);
  char record[sizeof message + 256];
  std::snprintf(record, sizeof record, "%s | %s | %s", origin.c_str(), functionName, message);
  g_Sink(record, g_Context);
}

}  // namespace

void QVTEST_SetTraceSink(QvTestTraceSink sink, void* context) {
  const std::lock_guard<std::mutex> guard(g_Mutex);
  g_Sink = sink;
  g_Context = context;
}

void QVTEST_RefuseTraceLoggers(int refuse) {
  g_Refuse = refuse != 0;
}

namespace qv::traceengine {
namespace {

/// Takes no memory either.
TraceTag** EveryTagOn() {
  static TraceTag tags[MyTraceLogger::kTagCount];
  static TraceTag* table[MyTraceLogger::kTagCount];
  for (std::uint32_t i = 0; i < MyTraceLogger::kTagCount; ++i) {
    tags[i].Initialize("", static_cast<int>(i), true);
    table[i] = &tags[i];
  }
  return table;
}

}  // namespace

MyTraceLogger::MyTraceLogger(const kit::String& moduleName) : moduleName_(moduleName) {
  if (g_Refuse) throw std::bad_alloc();
  tagTable_ = EveryTagOn();
  initialized_ = true;
}

MyTraceLogger::~MyTraceLogger() = default;

void MyTraceLogger::XTraceLogV(int tagId, const char* functionName, const char* format,
                               std::va_list arguments) noexcept {
  Record(std::to_string(tagId), functionName, format, arguments);
}

void MyTraceLogger::XTraceLog(int tagId, const char* functionName, const char* format,
                              ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  XTraceLogV(tagId, functionName, format, arguments);
  va_end(arguments);
}

void MyTraceLogger::XTraceErrorV(const char* functionName, const char* format,
                                 std::va_list arguments) noexcept {
  Record("ERROR", functionName, format, arguments);
}

void MyTraceLogger::XTraceError(const char* functionName, const char* format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  XTraceErrorV(functionName, format, arguments);
  va_end(arguments);
}

}  // namespace qv::traceengine
