#pragma once

#include <sys/types.h>

#include <optional>

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// What a file is, whatever name leads to it: links to one file have one identity.
struct FileIdentity {
  dev_t device;
  ino_t number;

  /// Identity of the file that path leads to, through symbolic links too; none when there is no
  /// such file (ENOENT). Throws PosixError when the system does not tell for another reason.
  static std::optional<FileIdentity> Of(const WString& path);
};

inline bool operator==(const FileIdentity& a, const FileIdentity& b) {
  return a.device == b.device && a.number == b.number;
}

}  // namespace qv::kit::osdep
