#pragma once

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

#include "qvini/qvini.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/reference/IniReference.h"

namespace qv::tests {

/// A document of the library with files to read it from and to write it to.
class Document {
 public:
  Document() : document_(IniNew(0), &IniDispose) {
    if (document_ == nullptr) throw std::runtime_error("no document");
  }

  /// One with the settings of a reference document.
  explicit Document(const IniReference& reference) : Document() {
    document_->mergeDuplicates = reference.mergeDuplicates;
    document_->caseSensitive = reference.caseSensitive;
    document_->maxLineLength = reference.maxLineLength;
    document_->wrapBreakChar = reference.wrapBreakChar;
    document_->writeFlags = reference.writeFlags;
    document_->readFlags = reference.readFlags;
  }

  IniDocument* get() const { return document_.get(); }
  IniDocument* operator->() const { return document_.get(); }

  int put(const std::string& section, const std::string& key, const std::string& value,
          char quote) const {
    return IniPut(get(), section.c_str(), key.c_str(), value.c_str(), quote);
  }

  /// The value of an item; throws when there is none.
  std::string value(const std::string& section, const std::string& key) const {
    const char* found = nullptr;
    if (IniGet(get(), section.c_str(), key.c_str(), &found) != 1) {
      throw std::runtime_error("no item " + key);
    }
    return found;
  }

  /// Reads a file with this text.
  int read(const std::string& text) const {
    const std::string path = Fresh("in.ini");
    Directory().write("in.ini", text);
    return IniReadFromFile(get(), path.c_str());
  }

  /// Writes a file and, when that succeeds, gives its text.
  int write(std::string& text) const {
    const int result = IniWriteToFile(get(), Fresh("out.ini").c_str());
    if (result == 0) text = Directory().read("out.ini");
    return result;
  }

  /// The text of a file that can be written.
  std::string written() const {
    std::string text;
    const int result = write(text);
    if (result != 0) throw std::runtime_error("not written: " + std::to_string(result));
    return text;
  }

 private:
  /// The path of a file that is not there: file systems take their time over files that are
  /// truncated and written again.
  static std::string Fresh(const std::string& name) {
    const std::string path = Directory().path(name);
    ::unlink(path.c_str());
    return path;
  }

  /// One for all documents of the program: there are many thousand.
  static const TemporaryDirectory& Directory() {
    static const TemporaryDirectory directory;
    return directory;
  }

  std::unique_ptr<IniDocument, decltype(&IniDispose)> document_;
};

/// All that the functions of the library tell of a document: bad line, entries in order with their
/// quotes, and through look-ups names, values and lines. The names are those of the reference.
inline std::string Told(const Document& document, const IniReference& names) {
  std::string told = "first bad line " + std::to_string(document->firstBadLine) + "\n";
  const unsigned limit = document->maxLineLength;
  const unsigned flags = document->writeFlags;
  document->maxLineLength = kIniNoLineLimit;
  document->writeFlags = 0;
  told += document.written();
  document->maxLineLength = limit;
  document->writeFlags = flags;

  for (const IniReferenceSection& section : names.sections) {
    const char* const sectionName = section.name.c_str();
    const int count = IniNumberOfItems(document.get(), sectionName);
    told += "<" + section.name + "> " + std::to_string(count) + "\n";
    for (int n = 1; n <= count; ++n) {
      const char* name = "no name";
      const char* value = "no value";
      IniNthItemName(document.get(), sectionName, n, &name);
      IniGet(document.get(), sectionName, name, &value);
      told += "<" + std::string(name) + "> <" + value + "> line " +
              std::to_string(document->lastLine) + "\n";
    }
  }
  return told;
}

/// The same of a reference document.
inline std::string Told(const IniReference& reference) {
  std::string told = "first bad line " + std::to_string(reference.firstBadLine) + "\n";
  IniReference copy = reference;
  copy.maxLineLength = kIniNoLineLimit;
  copy.writeFlags = 0;
  std::string text;
  copy.write(text);
  told += text;
  for (const IniReferenceSection& section : reference.sections) {
    const IniReferenceSection& found = *copy.section(section.name);
    told += "<" + section.name + "> " + std::to_string(found.entries.size()) + "\n";
    for (const IniReferenceEntry& item : found.entries) {
      const IniReferenceEntry& entry = *copy.entry(section.name, item.name);
      told += "<" + item.name + "> <" + entry.value + "> line " + std::to_string(entry.line) + "\n";
    }
  }
  return told;
}

}  // namespace qv::tests
