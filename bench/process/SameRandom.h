#pragma once

namespace qv::bench {

/// From now on the OpenSSL that a library depends on gives the same random numbers in every
/// process, in the same order. Whether that could be arranged. The library stays open.
bool UseSameRandom(const char* library);

}  // namespace qv::bench
