#include "bench/process/BareStart.h"

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "source/OpensslFunctionPointers.h"

// OpenSSL names the type and leaves what is in it to whoever sets the callbacks.
struct CRYPTO_dynlock_value {
  pthread_mutex_t mutex;
};

namespace qv::bench {
namespace {

using namespace qvsslinit;

std::vector<pthread_mutex_t> g_locks;

void SetLocked(pthread_mutex_t& mutex, int mode) {
  if ((mode & 1) != 0) {
    pthread_mutex_lock(&mutex);
  } else {
    pthread_mutex_unlock(&mutex);
  }
}

void Lock(int mode, int n, const char* /*file*/, int /*line*/) {
  SetLocked(g_locks[static_cast<std::size_t>(n)], mode);
}

unsigned long ThreadNumber() {
  return static_cast<unsigned long>(pthread_self());
}

CRYPTO_dynlock_value* CreateLock(const char* /*file*/, int /*line*/) {
  return new CRYPTO_dynlock_value{PTHREAD_MUTEX_INITIALIZER};
}

void LockDynamic(int mode, CRYPTO_dynlock_value* lock, const char* /*file*/, int /*line*/) {
  SetLocked(lock->mutex, mode);
}

void DestroyLock(CRYPTO_dynlock_value* lock, const char* /*file*/, int /*line*/) {
  delete lock;
}

bool Open(const std::string& directory, OpensslFunctionPointers& openssl, void*& crypto) {
  crypto = ::dlopen((directory + "/libeay32.dylib").c_str(), RTLD_NOW);
  void* const ssl = ::dlopen((directory + "/libssleay32.dylib").c_str(), RTLD_NOW);
  if (crypto == nullptr || ssl == nullptr) return false;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments)                       \
  openssl.name = reinterpret_cast<decltype(openssl.name)>(::dlsym(library, #name)); \
  if (openssl.name == nullptr) return false;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  return true;
}

void Start(const OpensslFunctionPointers& openssl) {
  openssl.SSL_library_init();
  openssl.SSL_load_error_strings();
  g_locks.assign(static_cast<std::size_t>(openssl.CRYPTO_num_locks()), PTHREAD_MUTEX_INITIALIZER);
  openssl.CRYPTO_set_locking_callback(&Lock);
  openssl.CRYPTO_set_id_callback(&ThreadNumber);
  openssl.CRYPTO_set_dynlock_create_callback(&CreateLock);
  openssl.CRYPTO_set_dynlock_lock_callback(&LockDynamic);
  openssl.CRYPTO_set_dynlock_destroy_callback(&DestroyLock);
  openssl.OPENSSL_add_all_algorithms_noconf();
  const std::time_t now = std::time(nullptr);
  openssl.RAND_seed(std::asctime(std::localtime(&now)), 4);
}

bool AddNames(const OpensslFunctionPointers& openssl, X509_NAME* name) {
  char host[256] = {};
  ::gethostname(host, sizeof host - 1);
  const std::pair<const char*, const char*> entries[] = {
      {"countryName", "US"},
      {"stateOrProvinceName", "TX"},
      {"localityName", "Brenford"},
      {"organizationName", "Kestrix Works"},
      {"organizationalUnitName", "Pellora Web Server"},
      {"commonName", host}};
  for (const auto& [field, value] : entries) {
    if (openssl.X509_NAME_add_entry_by_txt(
            name, field, 0x1001, reinterpret_cast<const unsigned char*>(value), -1, -1, 0) != 1) {
      return false;
    }
  }
  return true;
}

template <typename Write>
bool WriteFile(const OpensslFunctionPointers& openssl, const char* file, Write write) {
  BIO* const bio = openssl.BIO_new_file(file, "w");
  if (bio == nullptr) return false;
  const bool isWritten = write(bio) != 0;
  openssl.BIO_free(bio);
  return isWritten;
}

bool Create(const OpensslFunctionPointers& openssl, void* crypto) {
  const auto find = [crypto](auto*& function, const char* name) {
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(::dlsym(crypto, name));
    return function != nullptr;
  };
  ASN1_TIME* (*notBefore)(X509*) = nullptr;
  ASN1_TIME* (*notAfter)(X509*) = nullptr;
  if (!find(notBefore, "X509_getm_notBefore") || !find(notAfter, "X509_getm_notAfter"))
    return false;

  RSA* const rsa = openssl.RSA_generate_key(1024, 65537, nullptr, nullptr);
  EVP_PKEY* const key = openssl.EVP_PKEY_new();
  if (openssl.RSA_check_key(rsa) == 0 || openssl.EVP_PKEY_assign(key, 6, rsa) == 0) return false;
  const auto writeKey = [&](BIO* bio) {
    return openssl.PEM_ASN1_write_bio(
        reinterpret_cast<int (*)(void*, unsigned char**)>(openssl.i2d_RSAPrivateKey),
        "RSA PRIVATE KEY", bio, rsa, nullptr, nullptr, 0, nullptr, nullptr);
  };
  if (!WriteFile(openssl, "key", writeKey)) return false;

  X509* const x = openssl.X509_new();
  X509_NAME* const name = openssl.X509_NAME_new();
  if (openssl.X509_set_version(x, 2) == 0 || !AddNames(openssl, name)) return false;
  openssl.X509_set_issuer_name(x, name);
  openssl.X509_set_subject_name(x, name);
  openssl.X509_NAME_free(name);
  char field[] = "keyUsage";
  char value[] = "digitalSignature,keyEncipherment";
  X509_EXTENSION* const extension = openssl.X509V3_EXT_conf(nullptr, nullptr, field, value);
  openssl.X509_add_ext(x, extension, -1);
  openssl.X509_EXTENSION_free(extension);
  openssl.X509_gmtime_adj(notBefore(x), 0);
  openssl.X509_gmtime_adj(notAfter(x), 315360000);
  openssl.ASN1_INTEGER_set(openssl.X509_get_serialNumber(x), 0);
  openssl.X509_set_pubkey(x, key);
  if (openssl.X509_sign(x, key, openssl.EVP_sha1()) == 0) return false;
  const auto writeCertificate = [&](BIO* bio) { return openssl.PEM_write_bio_X509(bio, x); };
  const bool isWritten = WriteFile(openssl, "certificate", writeCertificate);
  openssl.EVP_PKEY_free(key);
  openssl.X509_free(x);
  return isWritten;
}

}  // namespace
}  // namespace qv::bench

bool MeasuredStart(const char* directory) {
  qvsslinit::OpensslFunctionPointers openssl{};
  void* crypto = nullptr;
  if (!qv::bench::Open(directory, openssl, crypto)) return false;
  qv::bench::Start(openssl);
  return true;
}

bool MeasuredCreate(const char* directory) {
  qvsslinit::OpensslFunctionPointers openssl{};
  void* crypto = nullptr;
  if (!qv::bench::Open(directory, openssl, crypto)) return false;
  qv::bench::Start(openssl);
  return qv::bench::Create(openssl, crypto);
}
