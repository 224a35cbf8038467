#pragma once

#include <string>

namespace qv::tools::cert {

/// What is in a file that holds a key or certificates. Throws Failure where it is no regular file,
/// cannot be read, or has more than 1 MiB.
std::string ReadWhole(const std::string& path);

}  // namespace qv::tools::cert
