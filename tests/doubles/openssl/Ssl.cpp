#include "tests/doubles/openssl/Call.h"
#include "tests/doubles/openssl/Exports.h"
#include "tests/doubles/openssl/Presence.h"

using qv::tests::Call;

static const qv::tests::Presence g_Presence("libssleay32.dylib");

int SSL_library_init() {
  return Call("SSL_library_init").result([] { return 1; });
}

void SSL_load_error_strings() {
  Call("SSL_load_error_strings").result([] {});
}
