#include "tests/doubles/openssl/Call.h"
#include "tests/doubles/openssl/Exports.h"
#include "tests/doubles/openssl/Objects.h"

// The accessor of the 1.0 series for the RSA key in a key object: the caller gets a reference.

using qv::tests::Call;
using qv::tests::Journal;

extern "C" QV_DOUBLE_EXPORT RSA* EVP_PKEY_get1_RSA(EVP_PKEY* key) {
  return Call("EVP_PKEY_get1_RSA", key).result([&] {
    Journal::instance().share(key->held);
    return key->held;
  });
}
