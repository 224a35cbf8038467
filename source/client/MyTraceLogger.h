#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include "kit/LibraryInterface.h"
#include "kit/StringBase.h"
#include "source/client/ITraceEngine.h"
#include "source/client/TraceTag.h"

namespace qv::traceengine {

struct MyTraceLoggerProbe;

/// The trace client of one module: answers whether a tag is on, and turns trace calls into records
/// for the trace engine. No trace call throws, reports or changes errno: tracing never disturbs
/// what it traces.
///
/// The module's tag file is its name with ".cfg" behind it, in the directory that the engine names;
/// an engine that names none has none.
/// It is read once. Each line defines a tag:
///
///     name : id : yes      on
///     name : id            off, and so with anything else than "yes"
///
/// Until an engine is loaded and the file is read the logger is uninitialized, every tag is off and
/// every call does nothing. From then on the table of tags is only read, by any number of threads.
/// The destructor is the only virtual operation.
///
/// Call it through the free functions below, which accept a logger that is not there.
class MyTraceLogger {
 public:
  /// Ids of tags go from 0 to 255.
  static constexpr std::uint32_t kTagCount = 256;

  /// A logger whose records bear moduleName. Loads the trace engine and reads the tag file; without
  /// an engine the logger stays uninitialized, without a file every tag is off. Throws
  /// std::bad_alloc when there is no memory for the name and for an empty engine; whatever happens
  /// afterwards ends here.
  explicit MyTraceLogger(const kit::String& moduleName);
  MyTraceLogger(const MyTraceLogger&) = delete;
  MyTraceLogger& operator=(const MyTraceLogger&) = delete;
  /// Gives the engine back. No trace call may be under way.
  virtual ~MyTraceLogger();

  /// Whether records under the tag with this id are produced. Any thread may ask.
  bool XTraceTagIsEnabled(int tagId) const noexcept {
    // Who has no table is not initialized.
    if (tagTable_ == nullptr || static_cast<unsigned>(tagId) >= kTagCount) return false;
    const TraceTag* const tag = tagTable_[tagId];
    return tag != nullptr && tag->enabled();
  }

  /// Sends a record under a tag, provided that the tag is on. Message and line are cut to 511 bytes
  /// each. Any thread may call.
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

  /// Prints every tag there is to standard output, a line each.
  void DumpTraceTagTable() const;

 private:
  friend struct MyTraceLoggerProbe;

  /// Asks the engine what there is to know and reads the tag file. Without memory for the table
  /// errno is ENOMEM and the logger stays uninitialized.
  void Initialize();
  void askForTagNames() noexcept;
  void readTagFile() noexcept;
  /// The name of the tag file. Throws what conversions throw, and what the engine throws.
  kit::String tagFileName(const kit::WString& directory) const;

  /// Reads a line of up to 1022 characters, or as much of a longer one, and stores the tag that it
  /// defines. -1 when there is nothing more to be read, otherwise 0.
  int parseNextLine(std::FILE* file);
  /// Sets tag to the one that line defines. -1 when it defines none. An Output_File line counts as
  /// a definition, and leaves tag alone.
  static int parseOneLine(const char* line, TraceTag& tag);
  void storeTag(const TraceTag& tag);

  /// Sends a record under tag, or an error record without one.
  [[gnu::format(printf, 4, 0)]] void sendRecord(const TraceTag* tag, const char* functionName,
                                                const char* format,
                                                std::va_list arguments) noexcept;
  /// Sets out to the identity of the calling thread in base 16.
  static void getThreadIDString(kit::String& out);
  /// Hands line to the engine. One that does not fit the engine's block is cut to fill it, without
  /// terminator, and is then cut here as well.
  void buildAndSendBlock(char* line);

  /// kTagCount slots, null where no tag has the id; a tag stands at its own id.
  TraceTag** tagTable_ = nullptr;
  kit::String moduleName_;
  kit::LibraryInterface<ITraceEngine> engine_;
  bool showTagNames_ = true;
  /// Set at the end of the initialization, before any other thread knows the logger.
  bool initialized_ = false;
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
