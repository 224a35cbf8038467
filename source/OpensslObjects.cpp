#include "source/OpensslObjects.h"

#include <cstddef>

#include "kit/osdep/SharedLibrary.h"

namespace qvsslinit {
namespace {

// The leading fields of the 1.0-series objects, as far as the ones that are needed.

struct ValidityLayout {
  ASN1_TIME* notBefore;
  ASN1_TIME* notAfter;
};

struct CertificateInfoLayout {
  void* version;
  void* serialNumber;
  void* signature;
  void* issuer;
  ValidityLayout* validity;
};

struct CertificateLayout {
  CertificateInfoLayout* info;
};

struct KeyLayout {
  int type;
  int savedType;
  int references;
  const void* method;
  void* engine;
  void* key;
};

constexpr std::size_t kPointer = sizeof(void*);
static_assert(offsetof(CertificateLayout, info) == 0);
static_assert(offsetof(CertificateInfoLayout, validity) == 4 * kPointer);
static_assert(offsetof(ValidityLayout, notAfter) == kPointer);
static_assert(offsetof(KeyLayout, method) == (kPointer == 4 ? 12 : 16));
static_assert(offsetof(KeyLayout, key) == (kPointer == 4 ? 20 : 32));

const ValidityLayout* validityOf(X509* certificate) {
  const CertificateInfoLayout* info = reinterpret_cast<CertificateLayout*>(certificate)->info;
  return info == nullptr ? nullptr : info->validity;
}

template <typename Function>
void find(qv::kit::osdep::SharedLibrary& library, const char* name, Function*& function) {
  function = reinterpret_cast<Function*>(library.getFunctionPointer(name, true));
}

}  // namespace

OpensslObjects::OpensslObjects(qv::kit::osdep::SharedLibrary& crypto) {
  find(crypto, "X509_getm_notBefore", getNotBefore_);
  find(crypto, "X509_getm_notAfter", getNotAfter_);
  find(crypto, "EVP_PKEY_get0_RSA", borrowRsa_);
  find(crypto, "EVP_PKEY_get1_RSA", shareRsa_);
}

ASN1_TIME* OpensslObjects::notBefore(X509* certificate) const {
  if (getNotBefore_ != nullptr) return getNotBefore_(certificate);
  const ValidityLayout* validity = validityOf(certificate);
  return validity == nullptr ? nullptr : validity->notBefore;
}

ASN1_TIME* OpensslObjects::notAfter(X509* certificate) const {
  if (getNotAfter_ != nullptr) return getNotAfter_(certificate);
  const ValidityLayout* validity = validityOf(certificate);
  return validity == nullptr ? nullptr : validity->notAfter;
}

OpensslObjects::RsaKey OpensslObjects::rsaKey(EVP_PKEY* key, void (*rsaFree)(RSA*)) const {
  const auto keep = [](RSA*) {};
  if (borrowRsa_ != nullptr) return {borrowRsa_(key), keep};
  if (shareRsa_ != nullptr) return {shareRsa_(key), rsaFree};
  return {static_cast<RSA*>(reinterpret_cast<KeyLayout*>(key)->key), keep};
}

}  // namespace qvsslinit
