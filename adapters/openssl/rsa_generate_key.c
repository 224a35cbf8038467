/* The old RSA key generator, for a libcrypto that was built without it. */
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/bn.h>
#include <openssl/rsa.h>

#include "adapters/openssl/Export.h"

typedef void (*ProgressCallback)(int phase, int step, void* argument);

// NOLINTNEXTLINE(readability-redundant-declaration): an OpenSSL without it does not declare it.
QV_ADAPTER_EXPORT RSA* RSA_generate_key(int bits, unsigned long exponent, ProgressCallback callback,
                                        void* argument);

static BN_GENCB* new_progress(ProgressCallback callback, void* argument) {
  BN_GENCB* progress = BN_GENCB_new();
  if (progress != NULL) BN_GENCB_set_old(progress, callback, argument);
  return progress;
}

RSA* RSA_generate_key(int bits, unsigned long exponent, ProgressCallback callback, void* argument) {
  RSA* rsa = RSA_new();
  BIGNUM* number = BN_new();
  BN_GENCB* progress = new_progress(callback, argument);
  if (rsa == NULL || number == NULL || progress == NULL || !BN_set_word(number, exponent) ||
      !RSA_generate_key_ex(rsa, bits, number, progress)) {
    RSA_free(rsa);
    rsa = NULL;
  }
  BN_GENCB_free(progress);
  BN_free(number);
  return rsa;
}
