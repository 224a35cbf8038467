#pragma once

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

namespace qv::tools::doctor {

/// The system's OpenSSL, as judge over keys and certificates. It is opened when it is first needed
/// and not linked: the doctor's children inherit nothing of it that could make up for what the
/// files beside the library lack, or get into their way.
class SystemOpenssl {
 public:
  /// The system's OpenSSL; null when it is not installed.
  static const SystemOpenssl* get();

#define QV_POLICY_FUNCTION(name) decltype(&::name) name = nullptr;
#include "tools/doctor/PolicyFunctions.def"
#undef QV_POLICY_FUNCTION

  /// What OpenSSL says of its oldest failure, after which all are forgotten.
  std::string takeError() const;

  template <typename T>
  using Owner = std::unique_ptr<T, void (*)(T*)>;
  using Bio = std::unique_ptr<BIO, int (*)(BIO*)>;

  /// The certificate, or the unencrypted private key, in PEM text. Null when there is none that
  /// can be read; takeError() then tells why.
  Owner<X509> readCertificate(const std::string& pem) const;
  Owner<EVP_PKEY> readKey(const std::string& pem) const;

 private:
  SystemOpenssl() = default;
  bool open();
};

}  // namespace qv::tools::doctor
