#include "tests/doubles/openssl/Call.h"
#include "tests/doubles/openssl/Exports.h"
#include "tests/doubles/openssl/Objects.h"

// The accessors of OpenSSL 1.1 and later for the times in a certificate.

using qv::tests::Call;

extern "C" {

QV_DOUBLE_EXPORT ASN1_TIME* X509_getm_notBefore(X509* certificate) {
  return Call("X509_getm_notBefore", certificate).result([&] { return &certificate->notBefore; });
}

QV_DOUBLE_EXPORT ASN1_TIME* X509_getm_notAfter(X509* certificate) {
  return Call("X509_getm_notAfter", certificate).result([&] { return &certificate->notAfter; });
}
}
