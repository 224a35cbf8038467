#pragma once

#include <string>

#include "tools/common/FileFacts.h"

namespace qv::tools {

/// What stands in a file that is meant for people.
struct SmallFile {
  /// Reads the file, 1 MiB at most, where it is a regular one.
  explicit SmallFile(const FileFacts& file);

  /// Why it could not be read, and who may: "Permission denied (mode 0600, owner root:root)". Empty
  /// when it could.
  std::string failure;
  std::string text;
  /// Whether there is more of it than text.
  bool isCut = false;
};

/// What helps where this user may not read a file.
inline constexpr char kLetItRead[] =
    "Run this as the user that the server runs as; if it was that one, let it read the file.";

}  // namespace qv::tools
