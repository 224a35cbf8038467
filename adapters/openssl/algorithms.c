/* The algorithm table call, for a libcrypto that fills its tables through OPENSSL_init_crypto. */
#include <openssl/crypto.h>

#include "adapters/openssl/Export.h"

QV_ADAPTER_EXPORT void OPENSSL_add_all_algorithms_noconf(void);

void OPENSSL_add_all_algorithms_noconf(void) {
  OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS, NULL);
}
