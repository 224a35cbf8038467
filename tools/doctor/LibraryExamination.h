#pragma once

#include <string>

#include "tools/doctor/Options.h"
#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// The library that options mean: absolute, whether it is there or not.
std::string FindLibrary(const Options& options);

/// What is known of the library after looking at it.
struct LibraryExamination {
  LibraryExamination(const std::string& library, int timeLimit);

  Section section{"library", "Library"};
  /// Whether it loads and has both functions.
  bool isUsable = false;
  /// Where it looks for OpenSSL, with a slash at the end.
  std::string directory;
};

}  // namespace qv::tools::doctor
