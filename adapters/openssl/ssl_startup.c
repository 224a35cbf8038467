/* SSL start-up, for a libssl that starts through OPENSSL_init_ssl. */
#include <openssl/ssl.h>

#include "adapters/openssl/Export.h"

/* The names stand in parentheses because the header has macros of the same names. */
QV_ADAPTER_EXPORT int(SSL_library_init)(void);
QV_ADAPTER_EXPORT void(SSL_load_error_strings)(void);

int(SSL_library_init)(void) {
  return OPENSSL_init_ssl(0, NULL);
}

void(SSL_load_error_strings)(void) {
  OPENSSL_init_ssl(OPENSSL_INIT_LOAD_SSL_STRINGS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS, NULL);
}
