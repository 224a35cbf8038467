#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "tools/common/Fact.h"

namespace qv::tools {

/// What the file system says of a name.
struct FileFacts {
  /// Looks at path without opening it. Never fails.
  explicit FileFacts(const std::string& path);

  bool isThere() const { return error == 0; }
  /// Whether the name is free.
  bool isMissing() const { return !isThere() && !isHidden() && !isLink; }
  /// Whether this user cannot tell if it is there. A link that leads nowhere can be told.
  bool isHidden() const {
    return !isThere() && error != ENOENT && error != ENOTDIR && error != ELOOP;
  }
  bool isRegular() const { return isThere() && S_ISREG(mode); }
  bool isDirectory() const { return isThere() && S_ISDIR(mode); }
  /// The permission bits.
  mode_t permissions() const { return mode & 07777U; }
  /// The permission bits as chmod takes them: "0644".
  std::string modeText() const;
  /// "a directory", "a regular file", "a socket", "missing", "out of sight (Permission denied)"...
  std::string kindText() const;
  /// Mode and owner: "mode 0600, owner www-data:www-data".
  std::string accessText() const;

  Fact json() const;

  std::string path;
  /// errno of looking through all links; 0 when that worked.
  int error = 0;
  /// Whether the name itself is a symbolic link, and the text that it holds.
  bool isLink = false;
  std::string linkTarget;
  /// The file's own name, behind every link; empty when it is not there.
  std::string realPath;
  mode_t mode = 0;
  uid_t uid = 0;
  gid_t gid = 0;
  /// Names, or numbers where there are no names.
  std::string owner;
  std::string group;
  off_t size = 0;
};

/// What helps where this user may not see a file.
inline constexpr char kShowIt[] =
    "Run this as the user that the server runs as; if it was that one, let it pass through the "
    "directories above.";

/// The real path of path; path itself when there is none.
std::string RealPath(const std::string& path);

/// The part of path before its last slash, which it must have, without that slash.
std::string Directory(const std::string& path);

/// The part of path after its last slash.
std::string Name(const std::string& path);

}  // namespace qv::tools
