#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// The site's trace engine, looked for where the library looks.
struct EngineExamination {
  EngineExamination(const std::string& library, int timeLimit);

  Section section{"engine", "Trace engine"};
  /// Whether there is an engine, and the directory that it names for tag files.
  bool isFound = false;
  std::string configDirectory;
};

}  // namespace qv::tools::doctor
