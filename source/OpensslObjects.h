#pragma once

#include <memory>

#include "source/OpensslFunctionPointers.h"

namespace qv::kit::osdep {
class SharedLibrary;
}

namespace qvsslinit {

/// Reaches what OpenSSL keeps inside its objects and the function table has no accessor for.
///
/// A library that exports accessors is asked through them; one that does not is of the 1.0 series,
/// where the fields lie open and their places are known.
class OpensslObjects {
 public:
  /// An RSA key that gives back its reference, where it holds one.
  using RsaKey = std::unique_ptr<RSA, void (*)(RSA*)>;

  /// Relies on the 1.0-series layout alone.
  OpensslObjects() = default;

  /// Looks the accessors up in crypto, which must stay loaded as long as this object is used.
  explicit OpensslObjects(qv::kit::osdep::SharedLibrary& crypto);

  /// The time inside the certificate, owned by it; null when it has none.
  ASN1_TIME* notBefore(X509* certificate) const;
  ASN1_TIME* notAfter(X509* certificate) const;

  /// The RSA key inside key, null when it holds none. rsaFree is called on it where the accessor
  /// gave a reference of its own.
  RsaKey rsaKey(EVP_PKEY* key, void (*rsaFree)(RSA*)) const;

 private:
  ASN1_TIME* (*getNotBefore_)(X509*) = nullptr;
  ASN1_TIME* (*getNotAfter_)(X509*) = nullptr;
  RSA* (*borrowRsa_)(EVP_PKEY*) = nullptr;
  RSA* (*shareRsa_)(EVP_PKEY*) = nullptr;
};

}  // namespace qvsslinit
