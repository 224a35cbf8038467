#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "qvini/qvini.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace qv::tests {

/// The two ways of naming the file that takes the target's place.
inline constexpr unsigned kFixedName = kIniWriteSafely;
inline constexpr unsigned kUniqueName = kIniWriteSafely | kIniWriteUniqueName;

/// What a target holds before it is written.
inline const std::string kOld = "[Section]\nKey = old\n";

/// A document with settings for writing, large enough that its text takes several calls to write.
class Writer {
 public:
  explicit Writer(unsigned writeFlags, const std::string& value = "new")
      : document_(IniNew(0), &IniDispose) {
    if (document_ == nullptr) throw std::runtime_error("no document");
    document_->writeFlags = writeFlags | kIniWriteBlanksAroundEquals;
    text_ = "[Section]\n";
    for (int number = 0; number < 2000; ++number) {
      const std::string key = "Key " + std::to_string(number);
      if (IniPut(document_.get(), "Section", key.c_str(), value.c_str(), kIniUnquoted) != 1) {
        throw std::runtime_error("no entry");
      }
      text_ += key + " = " + value + "\n";
    }
    text_ += "\n";
  }

  IniDocument* document() const { return document_.get(); }

  int write(const std::string& path) const { return IniWriteToFile(document_.get(), path.c_str()); }

  /// What a file of the document holds.
  const std::string& text() const { return text_; }

 private:
  std::unique_ptr<IniDocument, decltype(&IniDispose)> document_;
  std::string text_;
};

/// The names of all that a directory holds but one.
inline std::vector<std::string> NamesBeside(const TemporaryDirectory& directory,
                                            const std::string& name) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
    if (entry.path().filename() != name) names.push_back(entry.path().filename());
  return names;
}

/// Sets the umask for as long as it lives.
class ScopedUmask {
 public:
  explicit ScopedUmask(mode_t mask) : former_(::umask(mask)) {}
  ScopedUmask(const ScopedUmask&) = delete;
  ScopedUmask& operator=(const ScopedUmask&) = delete;
  ~ScopedUmask() { ::umask(former_); }

 private:
  mode_t former_;
};

}  // namespace qv::tests
