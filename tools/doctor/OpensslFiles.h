#pragma once

namespace qv::tools::doctor {

// The names under which the library opens OpenSSL, in its own directory.
inline constexpr char kCryptoFile[] = "libeay32.dylib";
inline constexpr char kSslFile[] = "libssleay32.dylib";

}  // namespace qv::tools::doctor
