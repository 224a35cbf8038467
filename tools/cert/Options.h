#pragma once

#include <string>

#include "tools/cert/NewPair.h"
#include "tools/cert/SubjectNames.h"
#include "tools/common/CommandLine.h"

namespace qv::tools::cert {

inline constexpr char kProgram[] = "qvsslinit-cert";

/// What the command line asks for.
struct Options {
  /// The files of the pair to import; both empty where one is to be made.
  std::string importedKey;
  std::string importedCertificate;

  KeyKind keyKind = KeyKind::Rsa3072;
  /// Whom the certificate is for; where it is nobody, the usual names, for this host.
  SubjectNames names;
  /// The name of this host; empty: what the system calls it.
  std::string hostName;
  int days = 365;

  bool replace = false;
  /// Seconds to wait for others who hold the store.
  int wait = 10;
  /// Whether to tell where the pair lies instead, and do nothing.
  bool printPaths = false;

  bool isImport() const { return !importedKey.empty(); }
};

/// Reads the command line into options. A line that makes no sense is explained on standard error
/// and refused.
Request ReadOptions(int argc, char** argv, Options& options);

std::string HelpText();

}  // namespace qv::tools::cert
