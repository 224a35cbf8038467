#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace qv::tools::cert {

/// Frees an object by the function that OpenSSL has for it.
template <auto kFree>
struct Freer {
  template <typename T>
  void operator()(T* object) const {
    kFree(object);
  }
};

using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freer<X509_free>>;
using Bio = std::unique_ptr<BIO, Freer<BIO_free>>;
using X509Name = std::unique_ptr<X509_NAME, Freer<X509_NAME_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freer<X509_EXTENSION_free>>;
using GeneralNames = std::unique_ptr<GENERAL_NAMES, Freer<GENERAL_NAMES_free>>;
using GeneralName = std::unique_ptr<GENERAL_NAME, Freer<GENERAL_NAME_free>>;
using Integer = std::unique_ptr<ASN1_INTEGER, Freer<ASN1_INTEGER_free>>;
using BigNumber = std::unique_ptr<BIGNUM, Freer<BN_free>>;

}  // namespace qv::tools::cert
