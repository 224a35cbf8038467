#pragma once

#include <cstdint>

#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "source/OpensslFunctionPointers.h"
#include "source/OpensslObjects.h"

namespace qvsslinit {

/// Makes sure that the certificate store holds a certificate to start with: an RSA key and a
/// self-signed certificate for this host, "server_0.key" and "server_0.cer", both PEM.
///
/// The constructor does it all, and never throws; the single operations may throw std::bad_alloc.
/// Where one fails, the trace says why. Belongs to one thread at a time.
class DefaultCertCreator {
 public:
  /// Creates the default certificate unless there is one or status holds a failure already.
  static void createDefaultSelfSignedCertificateIfNeeded(OpensslFunctionPointers& table,
                                                         const OpensslObjects& objects,
                                                         qv::kit::StatusChain& status);

  /// Creates the store's directories where they are missing, in any case, and key and certificate
  /// if there is no certificate. table and objects must outlive the creator.
  DefaultCertCreator(OpensslFunctionPointers& table, const OpensslObjects& objects,
                     qv::kit::StatusChain& status);
  DefaultCertCreator(const DefaultCertCreator&) = delete;
  DefaultCertCreator& operator=(const DefaultCertCreator&) = delete;
  ~DefaultCertCreator();

  void seedPRNG();

  /// Creates the store directory and the three below it. What holds the store must exist.
  void createCertificateDirectoriesIfNeeded();

  /// Creates dir, but none of its parents. Failures are traced only.
  void createDirIfDoesNotExist(const qv::kit::WString& dir);

  /// Whether there is a certificate file that can be opened for reading; the key file is not looked
  /// at. One that cannot be opened for want of descriptors or memory counts as readable.
  bool defaultCertificateExists();

  /// Creates key and certificate and writes both to the store. Empty name fields that OpenSSL does
  /// not take are left out; an empty subjectAltName makes no extension. On failure
  /// detailedErrorInfo says what failed. Validity starts now and lasts days of 86,400 seconds.
  void createSelfSignedCertificate(
      const qv::kit::WString& country, const qv::kit::WString& stateOrProvince,
      const qv::kit::WString& locality, const qv::kit::WString& organization,
      const qv::kit::WString& organizationalUnit, const qv::kit::WString& commonName,
      const qv::kit::WString& subjectAltName, std::int32_t days, std::uint32_t serial,
      qv::kit::String& detailedErrorInfo, qv::kit::StatusChain& status);

  /// Stores a new RSA key in *out, which must be null and then is the caller's to free; null again
  /// after a failure. A key that is there already is a failure, and stays the caller's.
  void generateNewRsaKey(EVP_PKEY** out, qv::kit::StatusChain& status);

  /// Writes the key unencrypted to the store's key file, which is replaced.
  void saveKeyToFile(EVP_PKEY* key, qv::kit::StatusChain& status);

  /// Writes the certificate to the store's certificate file, which is replaced. A new file that
  /// could not be written whole does not stay: it would pass for a certificate ever after.
  void saveX509ToFile(X509* x, qv::kit::StatusChain& status);

 private:
  struct Request;

  void removeUnfinishedCertificate();
  void createDefaultCertificate(qv::kit::StatusChain& status);

  // The steps on the way to a certificate: each returns null, or what failed.
  const char* makeKeyAndCertificate(const Request& request, qv::kit::StatusChain& status);
  const char* fillIn(X509* x, EVP_PKEY* key, const Request& request);
  const char* setNames(X509* x, const Request& request);
  const char* addNameEntries(X509_NAME* name, const Request& request);
  const char* addExtensions(X509* x, const Request& request);
  const char* setValidity(X509* x, std::int32_t days);
  const char* setSerialNumber(X509* x, std::uint32_t serial);
  const char* sign(X509* x, EVP_PKEY* key);
  bool writeKey(BIO* bio, EVP_PKEY* key);
  void failToWriteKey(qv::kit::StatusChain& status);

  OpensslFunctionPointers& pTable_;
  const OpensslObjects& objects_;
};

}  // namespace qvsslinit
