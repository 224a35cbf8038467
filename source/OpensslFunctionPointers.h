#pragma once

#include <cstdint>

// OpenSSL's types as far as they are needed: by name only. Its headers are those of one version,
// and which version will be loaded is not known here.
struct CRYPTO_dynlock_value;
struct X509_extension_st;
struct X509_name_st;
struct asn1_string_st;
struct bio_st;
struct evp_cipher_st;
struct evp_md_st;
struct evp_pkey_st;
struct lhash_st_CONF_VALUE;
struct rsa_st;
struct v3_ext_ctx;
struct x509_st;

namespace qvsslinit {

using ASN1_INTEGER = ::asn1_string_st;
using ASN1_TIME = ::asn1_string_st;
using BIO = ::bio_st;
using CONF_VALUE_LHASH = ::lhash_st_CONF_VALUE;
using EVP_CIPHER = ::evp_cipher_st;
using EVP_MD = ::evp_md_st;
using EVP_PKEY = ::evp_pkey_st;
using RSA = ::rsa_st;
using X509 = ::x509_st;
using X509V3_CTX = ::v3_ext_ctx;
using X509_EXTENSION = ::X509_extension_st;
using X509_NAME = ::X509_name_st;

/// The functions of the OpenSSL libraries that are loaded, each under its own name.
struct OpensslFunctionPointers {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) result(*name) arguments;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
};

/// The place of each function in the list, counted from 0.
enum class OpensslRow : std::int32_t {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) name,
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  Count
};

constexpr std::int32_t kOpensslFunctionCount = static_cast<std::int32_t>(OpensslRow::Count);

static_assert(kOpensslFunctionCount == 41);
static_assert(sizeof(OpensslFunctionPointers) == kOpensslFunctionCount * sizeof(void (*)()));

}  // namespace qvsslinit
