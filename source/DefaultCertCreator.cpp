#include "source/DefaultCertCreator.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <memory>

#include "kit/osdep/GetCertStoreDir.h"
#include "kit/osdep/GetHostName.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/WriteSignalGuard.h"
#include "kit/osdep/path.h"
#include "source/CallUnderWay.h"
#include "source/CertificateDraft.h"
#include "source/PemFile.h"
#include "source/SeedPRNG.h"
#include "source/ServiceStatus.h"
#include "source/StoreLock.h"
#include "source/TraceTagIds.h"
#include "source/client/TraceTagEE.h"

namespace qvsslinit {

namespace path = qv::kit::osdep::path;
using qv::kit::StatusChain;
using qv::kit::String;
using qv::kit::WString;
using qv::kit::osdep::GetCertStoreDir;
using qv::kit::osdep::WriteSignalGuard;
using qv::traceengine::TraceTagEE;

namespace {

constexpr int kKeyBits = 1024;
constexpr unsigned long kPublicExponent = 65537;
constexpr std::int32_t kDefaultDays = 3650;
constexpr std::uint32_t kDefaultSerial = 0;
constexpr std::int32_t kSecondsPerDay = 86400;
constexpr long kVersion3 = 2;          // X.509 counts versions from 0
constexpr int kKeyTypeRsa = 6;         // OpenSSL's EVP_PKEY_RSA
constexpr int kTextIsLatin1 = 0x1001;  // OpenSSL's MBSTRING_ASC

// OpenSSL's objects, freed through the function that the loaded library has for them.
template <typename T>
using Owner = std::unique_ptr<T, void (*)(T*)>;
using OpenFile = std::unique_ptr<BIO, int (*)(BIO*)>;

String StoreFile(const char* name) {
  const String store(GetCertStoreDir());
  return path::Join(path::Join(store, "server_certs"), name);
}

String KeyFile() {
  return StoreFile("server_0.key");
}
String CertificateFile() {
  return StoreFile("server_0.cer");
}

/// Whether the directory that would hold dir, which ends in a slash, is there.
bool ParentExists(const WString& dir) {
  return path::IsDirectory(path::DirName(path::DirName(dir)));
}

/// The certificate's second name while it is being written: one that nobody else would give a file.
String DraftFile() {
  const String store(GetCertStoreDir());
  return path::Join(path::Join(store, "temp"), "server_0.cer.unfinished");
}

/// Opens file for reading, without waiting for anybody to write to it if it is a pipe; -1, with
/// errno set, when that fails.
int OpenForReading(const String& file) noexcept {
  return qv::kit::osdep::RepeatWhileInterrupted(
      [&] { return ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); });
}

/// Whether it was for a reason that passes that a file could not be opened: want of something in
/// this process or system, or a lease on it, such as a server of files has (EAGAIN).
bool IsPassing(int error) noexcept {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == EAGAIN;
}

bool IsThere(const String& file) noexcept {
  struct stat entry {};
  return qv::kit::osdep::RepeatWhileInterrupted([&] { return ::lstat(file.c_str(), &entry); }) == 0;
}

/// Whether file can be read. Where that cannot be told, what is there must not be written over.
bool Exists(const String& file) noexcept {
  const int descriptor = OpenForReading(file);
  if (descriptor == -1) return IsPassing(errno) && IsThere(file);
  ::close(descriptor);
  return true;
}

/// To open it would wait until somebody reads from it.
bool IsPipe(const String& file) noexcept {
  struct stat entry {};
  const auto look = [&] { return ::stat(file.c_str(), &entry); };
  return qv::kit::osdep::RepeatWhileInterrupted(look) == 0 && S_ISFIFO(entry.st_mode);
}

/// Why a pair that this process is making may not be put in place any more, or null.
const char* WhyUnwanted() {
  if (CallUnderWay::wasCutOff()) return "The pair is the parent process's to make";
  if (Exists(CertificateFile())) return "Somebody has put a certificate in place meanwhile";
  return nullptr;
}

}  // namespace

struct DefaultCertCreator::Request {
  const WString& country;
  const WString& stateOrProvince;
  const WString& locality;
  const WString& organization;
  const WString& organizationalUnit;
  const WString& commonName;
  const WString& subjectAltName;
  std::int32_t days;
  std::uint32_t serial;
};

void DefaultCertCreator::createDefaultSelfSignedCertificateIfNeeded(OpensslFunctionPointers& table,
                                                                    const OpensslObjects& objects,
                                                                    StatusChain& status) {
  TraceTagEE scope(kTraceCreatorScopes,
                   "DefaultCertCreator::createDefaultSelfSignedCertificateIfNeeded");
  if (!Failed(status)) DefaultCertCreator creator(table, objects, status);
}

DefaultCertCreator::DefaultCertCreator(OpensslFunctionPointers& table,
                                       const OpensslObjects& objects, StatusChain& status)
    : pTable_(table), objects_(objects) {
  static constexpr const char* kFunctionName = "DefaultCertCreator::DefaultCertCreator";
  TraceTagEE scope(kTraceCreatorScopes, kFunctionName);
  try {
    seedPRNG();
    createCertificateDirectoriesIfNeeded();
    const String store(GetCertStoreDir());
    const StoreLock lock(store);
    if (lock.isHeld()) removeUnfinishedCertificate();
    if (defaultCertificateExists()) {
      XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName,
                "Default certificate already existed");
    } else {
      createDefaultCertificate(status);
    }
  } catch (...) {
    FailWithCurrentException(status, kFunctionName);
  }
}

DefaultCertCreator::~DefaultCertCreator() {
  TraceTagEE scope(kTraceCreatorScopes, "DefaultCertCreator::~DefaultCertCreator");
}

void DefaultCertCreator::createDefaultCertificate(StatusChain& status) {
  static constexpr const char* kFunctionName = "DefaultCertCreator::DefaultCertCreator";
  String detailedErrorInfo;
  createSelfSignedCertificate(L"US", L"TX", L"Brenford", L"Kestrix Works", L"Pellora Web Server",
                              qv::kit::osdep::GetHostName(false), L"", kDefaultDays, kDefaultSerial,
                              detailedErrorInfo, status);
  XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName, "Creation %s for default certificate",
            Failed(status) ? "failed" : "succeeded");
  if (Failed(status)) {
    XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName,
              "certificate creation detailedErrorInfo is '%s'", detailedErrorInfo.c_str());
  }
}

void DefaultCertCreator::seedPRNG() {
  TraceTagEE scope(kTraceCreatorScopes, "DefaultCertCreator::seedPRNG");
  SeedPRNG(pTable_);
}

void DefaultCertCreator::createCertificateDirectoriesIfNeeded() {
  TraceTagEE scope(kTraceCreatorScopes, "DefaultCertCreator::createCertificateDirectoriesIfNeeded");
  const WString store = GetCertStoreDir();
  for (const WString& dir : {store, path::Join(store, L"server_certs"),
                             path::Join(store, L"open_csrs"), path::Join(store, L"temp")}) {
    createDirIfDoesNotExist(dir);
  }
}

void DefaultCertCreator::createDirIfDoesNotExist(const WString& dir) {
  static constexpr const char* kFunctionName = "DefaultCertCreator::createDirIfDoesNotExist";
  TraceTagEE scope(kTraceCreatorScopes, kFunctionName);
  WString directory = dir;
  path::MakePathEndInSlash(directory);
  const String text(directory);
  if (path::IsDirectory(directory)) {
    XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName, "Dir already exists at '%s'",
              text.c_str());
    return;
  }
  bool created = false;
  try {
    // CreateDir would make parents as well. Where the store belongs is the installation's say: a
    // missing parent means that it is not there.
    if (ParentExists(directory)) {
      path::CreateDir(directory);
      created = true;
    }
  } catch (...) {
    created = false;  // whatever the reason: the writing of the files will tell what it means
  }
  if (created) {
    XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName, "Created directory at '%s'",
              text.c_str());
  } else {
    XTraceError(g_pGLogger, kFunctionName, "Could not create dir at '%s'", text.c_str());
  }
}

void DefaultCertCreator::removeUnfinishedCertificate() {
  const String file = CertificateFile();
  if (!CertificateDraft::RemoveLeftover(file, DraftFile())) return;
  XTraceLog(g_pGLogger, kTraceCertificate, "DefaultCertCreator::DefaultCertCreator",
            "Removed '%s', which a process that was killed left unfinished", file.c_str());
}

bool DefaultCertCreator::defaultCertificateExists() {
  static constexpr const char* kFunctionName = "DefaultCertCreator::defaultCertificateExists";
  TraceTagEE scope(kTraceCreatorScopes, kFunctionName);
  const String file = CertificateFile();
  const bool exists = Exists(file);
  XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName, "Default Certificate %s at '%s'",
            exists ? "exists" : "does not exist", file.c_str());
  return exists;
}

void DefaultCertCreator::createSelfSignedCertificate(
    const WString& country, const WString& stateOrProvince, const WString& locality,
    const WString& organization, const WString& organizationalUnit, const WString& commonName,
    const WString& subjectAltName, std::int32_t days, std::uint32_t serial,
    String& detailedErrorInfo, StatusChain& status) {
  static constexpr const char* kFunctionName = "DefaultCertCreator::createSelfSignedCertificate";
  TraceTagEE scope(kTraceCreatorScopes, kFunctionName);
  if (Failed(status)) return;
  const Request request{country,    stateOrProvince, locality, organization, organizationalUnit,
                        commonName, subjectAltName,  days,     serial};
  const char* failure = nullptr;
  try {
    failure = makeKeyAndCertificate(request, status);
  } catch (...) {
    FailWithCurrentException(status, kFunctionName);
    failure = "An exception was thrown";
  }
  if (failure != nullptr) {
    if (!Failed(status)) status.set(kFailed);
    detailedErrorInfo = failure;
    XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName, "Failed.  detailedErrorInfo='%s'",
              detailedErrorInfo.c_str());
  } else {
    XTraceLog(g_pGLogger, kTraceCertificate, kFunctionName, "Succeeded");
  }
}

const char* DefaultCertCreator::makeKeyAndCertificate(const Request& request, StatusChain& status) {
  Owner<X509> x(nullptr, pTable_.X509_free);  // outlives the key: the key is freed first
  EVP_PKEY* newKey = nullptr;
  generateNewRsaKey(&newKey, status);
  const Owner<EVP_PKEY> key(newKey, pTable_.EVP_PKEY_free);
  if (Failed(status)) return "Failed to generate new RSA key";

  if (const char* reason = WhyUnwanted()) return reason;
  saveKeyToFile(key.get(), status);
  if (Failed(status)) return "Failed to save key to disk";

  x.reset(pTable_.X509_new());
  if (x == nullptr) return "Couldn't allocate X509 object";
  if (const char* failure = fillIn(x.get(), key.get(), request)) return failure;

  if (const char* reason = WhyUnwanted()) return reason;
  saveX509ToFile(x.get(), status);
  return Failed(status) ? "Error writing self-signed cert to disk" : nullptr;
}

const char* DefaultCertCreator::fillIn(X509* x, EVP_PKEY* key, const Request& request) {
  if (pTable_.X509_set_version(x, kVersion3) == 0) return "Couldn't set X509 version to 3";
  if (const char* failure = setNames(x, request)) return failure;
  if (const char* failure = addExtensions(x, request)) return failure;
  if (const char* failure = setValidity(x, request.days)) return failure;
  if (const char* failure = setSerialNumber(x, request.serial)) return failure;
  if (pTable_.X509_set_pubkey(x, key) == 0) return "Error setting public key";
  return sign(x, key);
}

const char* DefaultCertCreator::setNames(X509* x, const Request& request) {
  // Freed only once both names are set: a failure leaves it to the process, which has a certificate
  // to create just once.
  X509_NAME* name = pTable_.X509_NAME_new();
  if (name == nullptr) return "Couldn't create a new x509_NAME";
  if (const char* failure = addNameEntries(name, request)) return failure;
  if (pTable_.X509_set_issuer_name(x, name) == 0) return "Couldn't set issuer name";
  if (pTable_.X509_set_subject_name(x, name) == 0) return "Couldn't set subject name";
  pTable_.X509_NAME_free(name);
  return nullptr;
}

const char* DefaultCertCreator::addNameEntries(X509_NAME* name, const Request& request) {
  const struct {
    const char* field;
    const WString& value;
    const char* failure;
  } entries[] = {
      {"countryName", request.country, "Couldn't add countryName"},
      {"stateOrProvinceName", request.stateOrProvince, "Couldn't add stateOrProvinceName"},
      {"localityName", request.locality, "Couldn't add localityName"},
      {"organizationName", request.organization, "Couldn't add organizationName"},
      {"organizationalUnitName", request.organizationalUnit, "Couldn't add organizationalUnitName"},
      {"commonName", request.commonName, "Couldn't add commonName"},
  };
  for (const auto& entry : entries) {
    const String value(entry.value);
    const int added = pTable_.X509_NAME_add_entry_by_txt(
        name, entry.field, kTextIsLatin1, reinterpret_cast<const unsigned char*>(value.c_str()), -1,
        -1, 0);
    if (added != 1 && !entry.value.empty()) return entry.failure;
  }
  return nullptr;
}

const char* DefaultCertCreator::addExtensions(X509* x, const Request& request) {
  const auto add = [&](const char* name, const char* value, const char* creating,
                       const char* adding) -> const char* {
    // OpenSSL takes the texts without const and only reads them.
    const Owner<X509_EXTENSION> extension(
        pTable_.X509V3_EXT_conf(nullptr, nullptr, const_cast<char*>(name),
                                const_cast<char*>(value)),
        pTable_.X509_EXTENSION_free);
    if (extension == nullptr) return creating;
    return pTable_.X509_add_ext(x, extension.get(), -1) == 0 ? adding : nullptr;
  };
  if (!request.subjectAltName.empty()) {
    const String value(request.subjectAltName);
    if (const char* failure =
            add("subjectAltName", value.c_str(), "Error creating subjectAltName extension",
                "Error adding subjectAltName to the request")) {
      return failure;
    }
  }
  return add("keyUsage", "digitalSignature,keyEncipherment", "Error creating keyUsage",
             "Error adding keyUsage");
}

const char* DefaultCertCreator::setValidity(X509* x, std::int32_t days) {
  ASN1_TIME* notBefore = objects_.notBefore(x);
  if (notBefore == nullptr || pTable_.X509_gmtime_adj(notBefore, 0) == nullptr) {
    return "Error setting notBefore time";
  }
  std::int32_t seconds = 0;  // as wide as OpenSSL's long is where it is narrowest
  ASN1_TIME* notAfter = objects_.notAfter(x);
  if (notAfter == nullptr || __builtin_mul_overflow(days, kSecondsPerDay, &seconds) ||
      pTable_.X509_gmtime_adj(notAfter, seconds) == nullptr) {
    return "Error setting notAfter time";
  }
  return nullptr;
}

const char* DefaultCertCreator::setSerialNumber(X509* x, std::uint32_t serial) {
  static constexpr const char* kFailure = "Error setting serial number";
  // OpenSSL takes a long, which has no room for the upper half where it is 32 bits wide.
  if (serial > std::numeric_limits<std::int32_t>::max()) return kFailure;
  ASN1_INTEGER* number = pTable_.X509_get_serialNumber(x);
  if (number == nullptr) return kFailure;
  return pTable_.ASN1_INTEGER_set(number, static_cast<long>(serial)) == 0 ? kFailure : nullptr;
}

const char* DefaultCertCreator::sign(X509* x, EVP_PKEY* key) {
  const EVP_MD* digest = pTable_.EVP_sha1();
  if (digest == nullptr || pTable_.X509_sign(x, key, digest) == 0) {
    return "Error signing new certificate";
  }
  return nullptr;
}

void DefaultCertCreator::generateNewRsaKey(EVP_PKEY** out, StatusChain& status) {
  static constexpr const char* kFunctionName = "DefaultCertCreator::generateNewRsaKey";
  TraceTagEE scope(kTraceCreatorScopes, kFunctionName);
  if (Failed(status)) return;
  if (out == nullptr || *out != nullptr) {
    status.set(kFailed);
    return;
  }
  Owner<RSA> rsa(pTable_.RSA_generate_key(kKeyBits, kPublicExponent, nullptr, nullptr),
                 pTable_.RSA_free);
  if (rsa == nullptr) {
    XTraceError(g_pGLogger, kFunctionName, "Failed to generate RSA key");
    status.set(kFailed);
    return;
  }
  // Only 0 says that the key is bad; -1 says that it could not be checked.
  if (pTable_.RSA_check_key(rsa.get()) == 0) {
    status.set(kFailed);
    return;
  }
  *out = pTable_.EVP_PKEY_new();
  if (*out == nullptr) {
    XTraceError(g_pGLogger, kFunctionName, "Failed to allocate new EVP_PKEY object");
    status.set(kFailed);
    return;
  }
  if (pTable_.EVP_PKEY_assign(*out, kKeyTypeRsa, rsa.get()) == 0) {
    rsa.reset();
    pTable_.EVP_PKEY_free(*out);
    *out = nullptr;
    status.set(kFailed);
    return;
  }
  static_cast<void>(rsa.release());  // the key object owns it now
}

void DefaultCertCreator::saveKeyToFile(EVP_PKEY* key, StatusChain& status) {
  static constexpr const char* kFunctionName = "DefaultCertCreator::saveKeyToFile";
  TraceTagEE scope(kTraceCreatorScopes, kFunctionName);
  if (key == nullptr) {
    XTraceError(g_pGLogger, kFunctionName, "null pKey parameter");
    status.set(kFailed);
    return;
  }
  if (Failed(status)) return;
  const String file = KeyFile();
  const WriteSignalGuard guard;
  OpenFile bio(IsPipe(file) ? nullptr : pTable_.BIO_new_file(file.c_str(), "w"), pTable_.BIO_free);
  if (bio == nullptr) {
    XTraceError(g_pGLogger, kFunctionName, "Could not create '%s' to write key to disk",
                file.c_str());
    status.set(kFailed);
    return;
  }
  const bool written = writeKey(bio.get(), key);
  if (!written) failToWriteKey(status);
  bio.reset();
  if (written && IsPemFileLost(file, kPemRsaKey)) failToWriteKey(status);
}

void DefaultCertCreator::failToWriteKey(StatusChain& status) {
  const unsigned long error = pTable_.ERR_get_error();
  const char* reason = pTable_.ERR_reason_error_string(error);
  XTraceError(g_pGLogger, "DefaultCertCreator::saveKeyToFile",
              "Failed to write key to disk err=%lu, errString='%s'", error,
              reason == nullptr ? "(null)" : reason);
  status.set(kFailed);
}

bool DefaultCertCreator::writeKey(BIO* bio, EVP_PKEY* key) {
  const OpensslObjects::RsaKey rsa = objects_.rsaKey(key, pTable_.RSA_free);
  return rsa != nullptr &&
         pTable_.PEM_ASN1_write_bio(
             reinterpret_cast<int (*)(void*, unsigned char**)>(pTable_.i2d_RSAPrivateKey),
             "RSA PRIVATE KEY", bio, rsa.get(), nullptr, nullptr, 0, nullptr, nullptr) != 0;
}

void DefaultCertCreator::saveX509ToFile(X509* x, StatusChain& status) {
  static constexpr const char* kFunctionName = "DefaultCertCreator::saveX509ToFile";
  TraceTagEE scope(kTraceCreatorScopes, kFunctionName);
  if (x == nullptr) {
    XTraceError(g_pGLogger, kFunctionName, "null pX509 parameter");
    status.set(kFailed);
    return;
  }
  if (Failed(status)) return;
  const String file = CertificateFile();
  const String secondName = DraftFile();
  const WriteSignalGuard guard;
  CertificateDraft draft(file, secondName);
  // Somebody was faster by a moment.
  if (!draft.isMade() && Exists(file)) {
    status.set(kFailed);
    return;
  }
  OpenFile bio(pTable_.BIO_new_file(file.c_str(), "w"), pTable_.BIO_free);
  if (bio == nullptr) {
    XTraceError(g_pGLogger, kFunctionName, "Could not create '%s' to write cert to disk",
                file.c_str());
    status.set(kFailed);
    return;
  }
  const bool written = pTable_.PEM_write_bio_X509(bio.get(), x) != 0;
  bio.reset();
  if (!written || !draft.finish()) status.set(kFailed);
}

}  // namespace qvsslinit
