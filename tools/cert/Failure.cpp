#include "tools/cert/Failure.h"

#include <openssl/err.h>

#include <cstring>

namespace qv::tools::cert {

Failure SystemFailure(const std::string& attempt, int error) {
  return Failure(attempt + ": " + std::strerror(error));
}

Failure OpensslFailure(const std::string& attempt) {
  const char* const reason = ERR_reason_error_string(ERR_peek_last_error());
  ERR_clear_error();
  return Failure(attempt + ": " + (reason == nullptr ? "no reason given" : reason));
}

}  // namespace qv::tools::cert
