#pragma once

#include <string>

#include "tools/doctor/FileFacts.h"

namespace qv::doctor {

/// What stands in a file that is meant for people.
struct SmallFile {
  /// Reads the file, 1 MiB at most, where it is a regular one.
  explicit SmallFile(const FileFacts& file);

  /// errno of reading; 0 when that worked.
  int error = 0;
  std::string text;
};

}  // namespace qv::doctor
