#pragma once

#include <stdexcept>
#include <string>

namespace qv::tools::cert {

/// Why there is no pair in place now, for whoever wanted one.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The failure of what was tried on a file, with the system's reason, which is error.
Failure SystemFailure(const std::string& attempt, int error);

/// The failure of what was tried with OpenSSL, with its reason, after which it has forgotten it.
Failure OpensslFailure(const std::string& attempt);

}  // namespace qv::tools::cert
