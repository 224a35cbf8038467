#pragma once

#include <string>

#include "tools/common/CommandLine.h"

namespace qv::tools::doctor {

inline constexpr char kProgram[] = "qvsslinit-doctor";

/// What the command line asks for.
struct Options {
  /// The library as given, or empty: then it is looked for beside this program.
  std::string library;
  bool json = false;
  bool verbose = false;
  /// Whether to call Init, which makes what is missing in the certificate store.
  bool init = true;
  /// Seconds that every run of code of others may take.
  int timeLimit = 60;
};

/// Reads the command line into options. A line that makes no sense is explained on standard error
/// and refused.
Request ReadOptions(int argc, char** argv, Options& options);

std::string HelpText();

}  // namespace qv::tools::doctor
