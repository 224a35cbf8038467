#pragma once

#include "tools/cert/Pair.h"

namespace qv::tools::cert {

/// Has a server present the pair to a client, both within this process and both content with
/// little. Throws Failure where that does not come about: the key is of a kind that TLS has no use
/// for, or is not the one that belongs to the certificate.
void RequireUseToServer(const Pair& pair);

/// Why a server with OpenSSL in its usual settings would not take the pair; empty where it would.
std::string WhyNotInUsualSettings(const Pair& pair);

}  // namespace qv::tools::cert
