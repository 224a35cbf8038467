#pragma once

#include <string>

#include "tools/cert/Pair.h"

namespace qv::tools::cert {

/// Reads a key and its certificate, which may have those of its signers behind it, from two PEM
/// files. Throws Failure where a file cannot be read, holds something else, or the key is encrypted
/// or another certificate's. Warns of what is merely unwise.
Pair ImportPair(const std::string& keyFile, const std::string& certificateFile);

}  // namespace qv::tools::cert
