#pragma once

#include "source/OpensslFunctionPointers.h"

namespace qvsslinit {

/// Feeds the weekday to OpenSSL's generator, which otherwise seeds itself from the system.
void SeedPRNG(const OpensslFunctionPointers& table);

}  // namespace qvsslinit
