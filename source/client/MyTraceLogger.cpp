#include "source/client/MyTraceLogger.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

#include "kit/NumericCast.h"
#include "kit/StatusChain.h"
#include "kit/osdep/CancellationDeferral.h"
#include "kit/osdep/ThreadID.h"
#include "kit/osdep/path.h"
#include "source/client/LoadTraceEngine.h"
#include "source/client/OpenTagFile.h"
#include "source/client/TagLine.h"
#include "source/client/TraceLine.h"
#include "source/utils/LoggingBlock.h"

namespace qv::traceengine {

using kit::StatusChain;
using kit::String;
using kit::osdep::CancellationDeferral;

namespace {

/// How much of a line of the tag file is read at a time, and the terminator.
constexpr int kTagLineSize = 1022 + 1;
constexpr int kEndOfFile = -1;
constexpr int kNoTag = -1;

/// What stands between the parts of a record.
constexpr std::string_view kThread = "t=";
constexpr std::string_view kSeparator = " | ";
constexpr std::string_view kError = "ERROR | ";

/// What a trace call leaves as it was: errno, which the caller may be about to look at, and the
/// thread, which must not be cancelled while the engine is at work.
class UndisturbedCaller {
 public:
  UndisturbedCaller() = default;
  ~UndisturbedCaller() { errno = errno_; }
  UndisturbedCaller(const UndisturbedCaller&) = delete;
  UndisturbedCaller& operator=(const UndisturbedCaller&) = delete;

 private:
  int errno_ = errno;
  CancellationDeferral deferral_;
};

/// The next character; EOF at the end of the file and where it cannot be read. A signal that comes
/// in between is neither.
int NextCharacter(std::FILE* file) noexcept {
  for (;;) {
    errno = 0;
    const int character = std::getc(file);
    if (character != EOF || std::ferror(file) == 0 || errno != EINTR) return character;
    std::clearerr(file);
  }
}

/// Reads a line with its end, or as much of one as there is room for. Whether there was any; the
/// rest of a file that fails counts as none.
bool ReadLine(std::FILE* file, char (&line)[kTagLineSize]) noexcept {
  int length = 0;
  while (length < kTagLineSize - 1) {
    const int character = NextCharacter(file);
    if (character == EOF) return length != 0 && std::ferror(file) == 0;
    line[length++] = static_cast<char>(character);
    if (character == '\n') break;
  }
  return true;
}

}  // namespace

MyTraceLogger::MyTraceLogger(const String& moduleName) : moduleName_(moduleName) {
  const CancellationDeferral deferral;
  try {
    StatusChain status;
    LoadTraceEngine(engine_, status);
    // A library may call its work well done and have given nothing that is an engine.
    if (status.code() >= 0 && engine_.interface() != nullptr) Initialize();
  } catch (...) {
    // The library could not even be looked for. Without an engine nothing is traced.
  }
}

MyTraceLogger::~MyTraceLogger() {
  const CancellationDeferral deferral;
  initialized_ = false;
  if (tagTable_ != nullptr) {
    std::for_each(tagTable_, tagTable_ + kTagCount, [](TraceTag*& tag) {
      delete tag;
      tag = nullptr;
    });
    delete[] tagTable_;
    tagTable_ = nullptr;
  }
  engine_.unload();
}

void MyTraceLogger::Initialize() {
  askForTagNames();
  tagTable_ = new (std::nothrow) TraceTag* [kTagCount] {};
  if (tagTable_ == nullptr) {
    errno = ENOMEM;
    return;
  }
  readTagFile();
  initialized_ = true;
}

void MyTraceLogger::askForTagNames() noexcept {
  try {
    showTagNames_ = engine_.interface()->showTagNames();
  } catch (...) {
    // An engine that fails here may still take records.
  }
}

void MyTraceLogger::readTagFile() noexcept {
  try {
    kit::WString directory;
    engine_.interface()->getConfigDirectory(directory);
    // Without a directory the name alone would lead to the host's current one.
    if (directory.empty()) return;
    const TagFile file = OpenTagFile(tagFileName(directory));
    if (file == nullptr) return;
    while (parseNextLine(file.get()) != kEndOfFile) {
    }
  } catch (...) {
    // A file that cannot even be named is one that cannot be read.
  }
}

String MyTraceLogger::tagFileName(const kit::WString& directory) const {
  return kit::osdep::path::Join(String(directory), moduleName_ + ".cfg");
}

int MyTraceLogger::parseNextLine(std::FILE* file) {
  if (std::feof(file) != 0) return kEndOfFile;
  char line[kTagLineSize] = {};
  // A file that fails once would fail for ever.
  if (!ReadLine(file, line)) return std::ferror(file) == 0 ? 0 : kEndOfFile;
  TraceTag tag;
  if (parseOneLine(line, tag) == kNoTag) return 0;
  if (static_cast<unsigned>(tag.id()) >= kTagCount) return 0;  // which negative ids become too
  storeTag(tag);
  return 0;
}

int MyTraceLogger::parseOneLine(const char* line, TraceTag& tag) {
  const TagLine parts(line);
  if (parts.fields < 2) return kNoTag;
  // Names a file that nobody writes any more.
  if (parts.fields == 3 && std::strcmp(parts.name, "Output_File") == 0) return 0;
  TraceTag defined;
  defined.Initialize(parts.name, parts.id, std::strcmp(parts.value, "yes") == 0);
  tag = defined;
  return 0;
}

void MyTraceLogger::storeTag(const TraceTag& tag) {
  auto* const stored = new (std::nothrow) TraceTag(tag);
  // Without memory the line is lost, and not what was there before it.
  if (stored == nullptr) return;
  delete tagTable_[tag.id()];
  tagTable_[tag.id()] = stored;
}

void MyTraceLogger::DumpTraceTagTable() const {
  if (tagTable_ == nullptr) return;
  std::for_each(tagTable_, tagTable_ + kTagCount, [](const TraceTag* tag) {
    if (tag == nullptr) return;
    std::printf("%4d) %s : %s\n", tag->id(), tag->enabled() ? "yes" : "no ", tag->name());
  });
}

void MyTraceLogger::XTraceLog(int tagId, const char* functionName, const char* format,
                              ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  XTraceLogV(tagId, functionName, format, arguments);
  va_end(arguments);
}

void MyTraceLogger::XTraceLogV(int tagId, const char* functionName, const char* format,
                               std::va_list arguments) noexcept {
  if (!XTraceTagIsEnabled(tagId)) return;
  sendRecord(tagTable_[tagId], functionName, format, arguments);
}

void MyTraceLogger::XTraceError(const char* functionName, const char* format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  XTraceErrorV(functionName, format, arguments);
  va_end(arguments);
}

void MyTraceLogger::XTraceErrorV(const char* functionName, const char* format,
                                 std::va_list arguments) noexcept {
  if (!initialized_) return;
  sendRecord(nullptr, functionName, format, arguments);
}

void MyTraceLogger::sendRecord(const TraceTag* tag, const char* functionName, const char* format,
                               std::va_list arguments) noexcept {
  const UndisturbedCaller undisturbed;
  TraceLine line;
  line.append(kThread);
  line.appendThreadID();
  line.append(kSeparator);
  if (tag == nullptr) line.append(kError);
  line.append(moduleName_.c_str());
  line.append(kSeparator);
  if (tag != nullptr && showTagNames_) {
    line.append(tag->name());
    line.append(kSeparator);
  }
  line.append(functionName);
  line.append(kSeparator);
  line.appendFormatted(format, arguments);
  try {
    buildAndSendBlock(line.text());
  } catch (...) {
    // The record is lost; the caller has other things to do than to hear of it.
  }
}

void MyTraceLogger::getThreadIDString(String& out) {
  out = String(kit::osdep::ThreadID::getCallingID().getDisplayStringHex());
}

void MyTraceLogger::buildAndSendBlock(char* line) {
  ITraceEngine& engine = *engine_.interface();
  // Before there is a block: one that was given out must go back whatever happens.
  std::int32_t length = kit::_UnsignedToSigned<int, unsigned long>()(std::strlen(line) + 1);
  LoggingBlock* const block = engine.getFreeBlock();
  if (block == nullptr) {
    engine.noteDroppedRecord();
    return;
  }
  if (length > block->room()) {
    length = block->room();
    line[length] = '\0';
  }
  block->stampCurrentTime();
  StatusChain status;
  status.clear();
  block->write(line, length, status);
  engine.sendBlock(block);
}

}  // namespace qv::traceengine
