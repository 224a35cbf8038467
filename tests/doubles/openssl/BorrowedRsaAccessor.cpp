#include "tests/doubles/openssl/Call.h"
#include "tests/doubles/openssl/Exports.h"
#include "tests/doubles/openssl/Objects.h"

// The accessor of OpenSSL 1.1 and later for the RSA key in a key object.

using qv::tests::Call;

extern "C" QV_DOUBLE_EXPORT RSA* EVP_PKEY_get0_RSA(EVP_PKEY* key) {
  return Call("EVP_PKEY_get0_RSA", key).result([&] { return key->held; });
}
