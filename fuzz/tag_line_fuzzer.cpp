#include <gtest/gtest.h>
#include <stdio.h>

#include <map>
#include <memory>
#include <string>

#include "fuzz/Fuzzer.h"
#include "source/client/MyTraceLogger.h"
#include "source/client/OpenTagFile.h"
#include "source/client/TagLine.h"
#include "tests/doubles/MyTraceLoggerProbe.h"
#include "tests/reference/TagFileReference.h"

// Tag files: the bytes are one line, and also a whole file that a logger reads into its table.

namespace {

using qv::tests::ReferenceTag;
using qv::tests::ScannedTagLine;
using qv::traceengine::MyTraceLogger;
using qv::traceengine::TagFile;
using qv::traceengine::TagLine;
using qv::traceengine::TraceTag;
using Probe = qv::traceengine::MyTraceLoggerProbe;

void CheckLine(const std::string& text) {
  const std::string line = text.substr(0, text.find('\0'));
  const ScannedTagLine expected(line);
  // In memory of its own length.
  const std::unique_ptr<char[]> copy(new char[line.size() + 1]);
  line.copy(copy.get(), line.size());
  copy[line.size()] = '\0';
  const TagLine found(copy.get());
  EXPECT_EQ(found.fields, expected.fields);
  EXPECT_STREQ(found.name, expected.name);
  EXPECT_EQ(found.id, expected.id);
  EXPECT_STREQ(found.value, expected.value);
}

void CheckFile(std::string contents) {
  static MyTraceLogger logger("fuzzer");
  Probe::emptyTable(logger);
  const TagFile file(::fmemopen(contents.data(), contents.size(), "r"));
  ASSERT_NE(file, nullptr);
  while (Probe::parseNextLine(logger, file.get()) == 0) {
  }

  std::map<int, ReferenceTag> found;
  for (int id = 0; id < 256; ++id) {
    const TraceTag* const tag = Probe::tag(logger, id);
    if (tag == nullptr) continue;
    EXPECT_EQ(tag->id(), id);
    found[id] = {tag->name(), tag->enabled()};
  }
  EXPECT_EQ(found, qv::tests::TagsOfFile(contents));
}

}  // namespace

extern "C" int QV_FUZZER(tag_line)(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckLine(text);
  // A stream over no memory is not to be had everywhere.
  if (!text.empty()) CheckFile(text);
  return 0;
}
