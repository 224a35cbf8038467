#pragma once

#include <sys/stat.h>

#include <string>

namespace qv::tools::cert {

/// A new file below the current directory, whole and on the disk, that is to be moved to its place
/// there.
class WaitingFile {
 public:
  /// Makes the file, whose name must be free, with these permissions and this text. Throws Failure,
  /// and leaves no file.
  WaitingFile(std::string name, const std::string& text, mode_t permissions);
  WaitingFile(const WaitingFile&) = delete;
  WaitingFile& operator=(const WaitingFile&) = delete;
  /// Removes the file unless it is to stay.
  ~WaitingFile();

  /// The file is to stay where it is.
  void keep() { isToBeRemoved_ = false; }

 private:
  explicit WaitingFile(std::string name);
  void write(int descriptor, const std::string& text, mode_t permissions);

  std::string name_;
  bool isToBeRemoved_ = false;
};

}  // namespace qv::tools::cert
