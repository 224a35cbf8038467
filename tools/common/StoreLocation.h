#pragma once

#include <string>

namespace qv::tools {

/// Where the library looks for the certificate store, by its own code.
struct StoreLocation {
  StoreLocation();

  /// The directory "certstore".
  std::string path;
  /// Whether the environment has a variable QVPUBAPPDATADIR, and what is in it.
  bool isVariableSet = false;
  std::string variable;
  /// Why that has no say all the same, and what to do about it; empty where it has.
  std::string complaint;
  std::string advice;
};

}  // namespace qv::tools
