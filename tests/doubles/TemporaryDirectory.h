#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

#include "kit/StringBase.h"

namespace qv::tests {

/// A fresh, empty directory with an absolute name of plain ASCII, removed with all it holds in the
/// end. Its helpers go past the code under test.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    char name[] = "/tmp/qvsslinit-test-XXXXXX";
    if (::mkdtemp(name) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = name;
  }

  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  /// The directory's name, without a "/" at its end.
  const std::string& path() const { return path_; }

  /// Name of something in the directory.
  std::string path(const std::string& name) const { return path_ + "/" + name; }

  /// The same as wide strings.
  kit::WString wide() const { return kit::WString(path_.c_str()); }
  kit::WString wide(const std::string& name) const { return kit::WString(path(name).c_str()); }

  /// Creates a file in the directory.
  void write(const std::string& name, const std::string& contents = "") const {
    std::ofstream(path(name), std::ios::binary) << contents;
  }

  /// The contents of a file in the directory; throws when there is none.
  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    if (!file) throw std::runtime_error("no file " + name);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  /// Creates a directory in the directory, and those above it.
  void makeDirectory(const std::string& name) const {
    std::filesystem::create_directories(path(name));
  }

  /// Creates a symbolic link in the directory that leads to target.
  void makeLink(const std::string& target, const std::string& name) const {
    std::filesystem::create_symlink(target, path(name));
  }

  /// Whether the directory has an entry of this name; a symbolic link counts, wherever it leads.
  bool has(const std::string& name) const {
    return std::filesystem::symlink_status(path(name)).type() !=
           std::filesystem::file_type::not_found;
  }

  /// The permission bits of an entry.
  mode_t permissions(const std::string& name) const {
    struct stat entry {};
    if (::lstat(path(name).c_str(), &entry) != 0) throw std::runtime_error("no entry " + name);
    return entry.st_mode & 07777;
  }

 private:
  std::string path_;
};

}  // namespace qv::tests
