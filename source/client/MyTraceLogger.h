#pragma once

#include <cstdarg>

#include "kit/StringBase.h"

namespace qv::traceengine {

/// The trace client of one module: answers whether a tag is on, and turns trace calls into records
/// for the trace engine. Nothing here throws or reports: tracing never disturbs what it traces.
///
/// Until an engine is loaded the logger is uninitialized, every tag is off and every call does
/// nothing. The destructor is the only virtual operation.
///
/// Call it through the free functions below, which accept a logger that is not there.
class MyTraceLogger {
 public:
  /// A logger whose records bear moduleName. Throws std::bad_alloc.
  explicit MyTraceLogger(const kit::String& moduleName);
  MyTraceLogger(const MyTraceLogger&) = delete;
  MyTraceLogger& operator=(const MyTraceLogger&) = delete;
  virtual ~MyTraceLogger();

  /// Whether records under the tag with this id are produced. Any thread may ask.
  bool XTraceTagIsEnabled(int tagId) const noexcept;

  /// Sends a record under a tag, provided that the tag is on. Any thread may call.
  [[gnu::format(printf, 4, 5)]] void XTraceLog(int tagId, const char* functionName,
                                               const char* format, ...) noexcept;
  [[gnu::format(printf, 4, 0)]] void XTraceLogV(int tagId, const char* functionName,
                                                const char* format,
                                                std::va_list arguments) noexcept;

  /// Sends an error record, whatever the tags say. Any thread may call.
  [[gnu::format(printf, 3, 4)]] void XTraceError(const char* functionName, const char* format,
                                                 ...) noexcept;
  [[gnu::format(printf, 3, 0)]] void XTraceErrorV(const char* functionName, const char* format,
                                                  std::va_list arguments) noexcept;

 private:
  kit::String moduleName_;
};

/// The calls of MyTraceLogger for a logger that may be null, which means that every tag is off.
inline bool XTraceTagIsEnabled(const MyTraceLogger* logger, int tagId) noexcept {
  return logger != nullptr && logger->XTraceTagIsEnabled(tagId);
}

[[gnu::format(printf, 4, 5)]] inline void XTraceLog(MyTraceLogger* logger, int tagId,
                                                    const char* functionName, const char* format,
                                                    ...) noexcept {
  if (!XTraceTagIsEnabled(logger, tagId)) return;
  std::va_list arguments;
  va_start(arguments, format);
  logger->XTraceLogV(tagId, functionName, format, arguments);
  va_end(arguments);
}

[[gnu::format(printf, 3, 4)]] inline void XTraceError(MyTraceLogger* logger,
                                                      const char* functionName, const char* format,
                                                      ...) noexcept {
  if (logger == nullptr) return;
  std::va_list arguments;
  va_start(arguments, format);
  logger->XTraceErrorV(functionName, format, arguments);
  va_end(arguments);
}

}  // namespace qv::traceengine
