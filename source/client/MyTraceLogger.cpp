#include "source/client/MyTraceLogger.h"

namespace qv::traceengine {

MyTraceLogger::MyTraceLogger(const kit::String& moduleName) : moduleName_(moduleName) {}

MyTraceLogger::~MyTraceLogger() = default;

// There is no engine to take a record yet, so every tag is off and every record goes nowhere.

bool MyTraceLogger::XTraceTagIsEnabled(int /*tagId*/) const noexcept {
  return false;
}

void MyTraceLogger::XTraceLog(int /*tagId*/, const char* /*functionName*/, const char* /*format*/,
                              ...) noexcept {}

void MyTraceLogger::XTraceLogV(int /*tagId*/, const char* /*functionName*/, const char* /*format*/,
                               std::va_list /*arguments*/) noexcept {}

void MyTraceLogger::XTraceError(const char* /*functionName*/, const char* /*format*/,
                                ...) noexcept {}

void MyTraceLogger::XTraceErrorV(const char* /*functionName*/, const char* /*format*/,
                                 std::va_list /*arguments*/) noexcept {}

}  // namespace qv::traceengine
