#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

class SystemOpenssl;

/// Judges the certificate in pem, of the file called name: validity, and what the policy of the
/// system's OpenSSL says of it. Adds what it is to facts. False when it cannot be read at all;
/// reason then tells why.
bool JudgeCertificate(const SystemOpenssl& openssl, const std::string& pem, const std::string& name,
                      Section& section, Fact& facts, std::string& reason);

}  // namespace qv::tools::doctor
