#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/doubles/TemporaryDirectory.h"

namespace qv::tests {

/// A file that the engine, told by the environment, writes to.
class TraceFile {
 public:
  TraceFile() {
    ::setenv("QV_TRACE_OUTPUT", path().c_str(), 1);
    ::unsetenv("QV_TRACE_BLOCKS");
    ::unsetenv("QV_TRACE_TAG_NAMES");
    ::unsetenv("QV_TRACE_CONFIG_DIR");
  }

  const TemporaryDirectory& directory() const { return directory_; }
  std::string path() const { return directory_.path("trace.log"); }

  /// The texts of all records in a file of the directory, in their order. A line that is not whole
  /// fails the test. Counts of dropped records are added up in dropped().
  std::vector<std::string> records(const std::string& name = "trace.log") {
    return recordsIn(directory_.has(name) ? directory_.read(name) : "");
  }

  std::vector<std::string> recordsIn(const std::string& contents) {
    static const std::regex kLine(
        R"((\d{4,}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z) (records dropped: (\d+) \(process \d+\)|.*))");
    std::vector<std::string> texts;
    dropped_ = 0;
    EXPECT_TRUE(contents.empty() || contents.back() == '\n') << "half a line";
    std::istringstream stream(contents);
    for (std::string line; std::getline(stream, line);) {
      std::smatch match;
      if (!std::regex_match(line, match, kLine)) {
        ADD_FAILURE() << "not a line: " << line;
      } else if (match[3].matched) {
        dropped_ += std::stoull(match[3]);
      } else {
        texts.push_back(match[2]);
      }
    }
    return texts;
  }

  /// As the last call of records() found.
  std::uint64_t dropped() const { return dropped_; }

 private:
  TemporaryDirectory directory_;
  std::uint64_t dropped_ = 0;
};

/// How often each text is among texts.
inline std::map<std::string, int> Counts(const std::vector<std::string>& texts) {
  std::map<std::string, int> counts;
  for (const std::string& text : texts)
    ++counts[text];
  return counts;
}

}  // namespace qv::tests
