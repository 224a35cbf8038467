#pragma once

#include <cstdio>

#include "source/client/MyTraceLogger.h"

namespace qv::traceengine {

/// Reaches into a logger, for what trace calls do not show.
struct MyTraceLoggerProbe {
  static bool isInitialized(const MyTraceLogger& logger) { return logger.initialized_; }
  static bool showTagNames(const MyTraceLogger& logger) { return logger.showTagNames_; }
  static ITraceEngine* engine(const MyTraceLogger& logger) { return logger.engine_.interface(); }
  static bool hasTable(const MyTraceLogger& logger) { return logger.tagTable_ != nullptr; }
  /// The tag with this id, or null.
  static const TraceTag* tag(const MyTraceLogger& logger, int id) { return logger.tagTable_[id]; }

  /// Makes the table an empty one, also of a logger that has none because it has no engine.
  static void emptyTable(MyTraceLogger& logger) {
    if (!hasTable(logger)) logger.tagTable_ = new TraceTag* [MyTraceLogger::kTagCount] {};
    for (std::uint32_t id = 0; id < MyTraceLogger::kTagCount; ++id) {
      delete logger.tagTable_[id];
      logger.tagTable_[id] = nullptr;
    }
  }

  static void Initialize(MyTraceLogger& logger) { logger.Initialize(); }
  static int parseNextLine(MyTraceLogger& logger, std::FILE* file) {
    return logger.parseNextLine(file);
  }
  static int parseOneLine(const char* line, TraceTag& tag) {
    return MyTraceLogger::parseOneLine(line, tag);
  }
  static void getThreadIDString(kit::String& out) { MyTraceLogger::getThreadIDString(out); }
  static void buildAndSendBlock(MyTraceLogger& logger, char* line) {
    logger.buildAndSendBlock(line);
  }
};

}  // namespace qv::traceengine
