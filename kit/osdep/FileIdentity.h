#pragma once

#include <sys/types.h>

#include <optional>

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// What a file is, whatever name leads to it: links to one file have one identity.
struct FileIdentity {
  /// The file system.
  dev_t device;
  /// The number of the file there.
  ino_t number;

  /// Identity of the file that path leads to, through symbolic links too; none when there is no
  /// such file (ENOENT). Throws PosixError when the system does not tell for another reason.
  static std::optional<FileIdentity> Of(const WString& path);
};

/// Whether both are one file. A number may come again once its file is removed.
inline bool operator==(const FileIdentity& a, const FileIdentity& b) {
  return a.device == b.device && a.number == b.number;
}

}  // namespace qv::kit::osdep
