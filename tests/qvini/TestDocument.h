#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qvini/qvini.h"

namespace qv::tests {

/// An INI document that disposes of itself, with what tests ask of one.
class TestDocument {
 public:
  TestDocument() : document_(IniNew(0)) {
    if (document_ == nullptr) throw std::runtime_error("no document");
  }
  explicit TestDocument(const std::vector<std::string>& lines) : TestDocument() { read(lines); }
  TestDocument(const TestDocument&) = delete;
  TestDocument& operator=(const TestDocument&) = delete;
  ~TestDocument() { IniDispose(document_); }

  operator IniDocument*() const { return document_; }
  IniDocument* operator->() const { return document_; }

  /// IniRead of these lines; an error code, if any, comes in place of the line after the last.
  int read(const std::vector<std::string>& lines, int error = 0) const {
    Source source{lines, error};
    return IniRead(document_, &Source::next, &source);
  }

  /// The lines that IniWrite gives.
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    const int result = IniWrite(document_, &AddLine, &lines);
    if (result != kIniDone) throw std::runtime_error("IniWrite: " + std::to_string(result));
    return lines;
  }

  /// The result of an IniWrite of which nobody wants the lines.
  int write() const {
    std::vector<std::string> lines;
    return IniWrite(document_, &AddLine, &lines);
  }

  /// The stored value of an item, or "(none)".
  std::string value(const std::string& section, const std::string& key) const {
    const char* value = nullptr;
    return IniGet(document_, section.c_str(), key.c_str(), &value) == kIniFound ? value : "(none)";
  }

  /// The file line of an item.
  int line(const std::string& section, const std::string& key) const {
    const char* value = nullptr;
    if (IniGet(document_, section.c_str(), key.c_str(), &value) != kIniFound)
      throw std::runtime_error("no item " + key);
    return document_->lastLine;
  }

  /// The keys of a section, in order.
  std::vector<std::string> keys(const std::string& section) const {
    std::vector<std::string> keys;
    const char* name = nullptr;
    for (int n = 1; IniNthItemName(document_, section.c_str(), n, &name) == kIniFound; ++n)
      keys.emplace_back(name);
    return keys;
  }

 private:
  struct Source {
    const std::vector<std::string>& lines;
    int error;
    std::size_t line = 0;
    std::size_t done = 0;

    static int next(void* source, char* buffer, std::size_t size) {
      return static_cast<Source*>(source)->next(buffer, size);
    }

    int next(char* buffer, std::size_t size) {
      if (line == lines.size()) return error;
      const std::string& text = lines[line];
      const std::size_t count = text.copy(buffer, size - 1, done);
      buffer[count] = '\0';
      done += count;
      if (done < text.size()) return kIniInputPart;
      done = 0;
      ++line;
      return kIniInputLine;
    }
  };

  static int AddLine(void* lines, const char* line) {
    static_cast<std::vector<std::string>*>(lines)->emplace_back(line);
    return 0;
  }

  IniDocument* document_;
};

}  // namespace qv::tests
