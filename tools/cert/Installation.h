#pragma once

#include <string>

namespace qv::tools::cert {

/// Where the pair lies, for people and for programs.
std::string KeyPath(const std::string& store);
std::string CertificatePath(const std::string& store);

/// What is to be put in place, and how.
struct Installation {
  /// The directory of the store; what holds it must be there.
  std::string store;
  std::string key;
  std::string certificate;
  /// Whether to replace the pair, or the half of one, that is there.
  bool replace = false;
  /// Seconds to wait for others who hold the store.
  int wait = 0;
};

/// Puts a pair in place, of which either both files are to be found there afterwards or neither,
/// however this process ends; see Replacement.h for how. Clears up after one that was killed.
/// Throws Failure. Changes the current directory.
void InstallPair(const Installation& installation);

}  // namespace qv::tools::cert
