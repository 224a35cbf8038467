#pragma once

#include <string>

#include "tools/cert/Pair.h"

namespace qv::tools::cert {

/// Reads a key and its certificate, which may have those of its signers behind it, from two PEM
/// files. Throws Failure where a file cannot be read or holds something else, where the key is
/// encrypted or another certificate's, or where no TLS server could use the pair. Warns of what is
/// merely unwise.
Pair ImportPair(const std::string& keyFile, const std::string& certificateFile);

}  // namespace qv::tools::cert
