#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "tests/doubles/openssl/Exports.h"
#include "tests/doubles/openssl/Objects.h"

// Both libraries of an OpenSSL that keeps no journal and takes next to no memory, for tests that
// take memory away from everybody else. All objects of a kind are one. Key and certificate files
// say which process they are from, and which key of it they belong to, so that two that do not
// belong together are told apart.

namespace {

using LockingCallback = void(int mode, int n, const char* file, int line);
using DynlockCreateCallback = CRYPTO_dynlock_value*(const char* file, int line);
using DynlockLockCallback = void(int mode, CRYPTO_dynlock_value* l, const char* file, int line);
using DynlockDestroyCallback = void(CRYPTO_dynlock_value* l, const char* file, int line);

constexpr int kLockForWriting = 1 | 8;
constexpr int kUnlockAfterWriting = 2 | 8;

LockingCallback* g_locking = nullptr;
DynlockCreateCallback* g_dynlockCreate = nullptr;
DynlockLockCallback* g_dynlockLock = nullptr;
DynlockDestroyCallback* g_dynlockDestroy = nullptr;

asn1_string_st g_time{};
asn1_string_st g_serialNumber{};
x509_st g_certificate{};
X509_name_st g_name{};
X509_extension_st g_extension{};
evp_pkey_st g_key{};
rsa_st g_rsa{};
const char g_digest = 0;

/// What is written waits for the file to be closed, as it does in the C library's streams.
struct Stream {
  int descriptor = -1;
  std::array<char, 256> bytes{};
  std::size_t length = 0;
  void* memory = nullptr;
};

Stream g_stream;
bio_st g_file{&g_stream};

int Open(const char* file) {
  int descriptor = -1;
  do {
    descriptor = ::open(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  } while (descriptor == -1 && errno == EINTR);
  return descriptor;
}

/// Keeps to itself what fails, as the real one does.
void Flush(const Stream& stream) {
  for (std::size_t done = 0; done < stream.length;) {
    const ssize_t count =
        ::write(stream.descriptor, stream.bytes.data() + done, stream.length - done);
    if (count == -1 && errno == EINTR) continue;
    if (count <= 0) return;
    done += static_cast<std::size_t>(count);
  }
}

/// Of the same length in every process: tests count the bytes that a disk still takes.
int WriteBlock(const char* name) {
  const int length = std::snprintf(g_stream.bytes.data(), g_stream.bytes.size(),
                                   "-----BEGIN %s-----\n%010ld %d\n-----END %s-----\n", name,
                                   static_cast<long>(::getpid()), g_rsa.bits, name);
  g_stream.length = static_cast<std::size_t>(length);
  return 1;
}

/// Uses both kinds of locks once.
void Lock() {
  if (g_locking == nullptr) return;
  g_locking(kLockForWriting, 0, __FILE__, __LINE__);
  g_locking(kUnlockAfterWriting, 0, __FILE__, __LINE__);
  CRYPTO_dynlock_value* const lock = g_dynlockCreate(__FILE__, __LINE__);
  if (lock == nullptr) return;
  g_dynlockLock(kLockForWriting, lock, __FILE__, __LINE__);
  g_dynlockLock(kUnlockAfterWriting, lock, __FILE__, __LINE__);
  g_dynlockDestroy(lock, __FILE__, __LINE__);
}

}  // namespace

void OPENSSL_add_all_algorithms_noconf() {}

void RAND_seed(const void* /*bytes*/, int /*count*/) {}

void CRYPTO_set_locking_callback(LockingCallback* callback) {
  g_locking = callback;
}

void CRYPTO_set_id_callback(unsigned long (* /*callback*/)()) {}

void CRYPTO_set_dynlock_create_callback(DynlockCreateCallback* callback) {
  g_dynlockCreate = callback;
}

void CRYPTO_set_dynlock_lock_callback(DynlockLockCallback* callback) {
  g_dynlockLock = callback;
}

void CRYPTO_set_dynlock_destroy_callback(DynlockDestroyCallback* callback) {
  g_dynlockDestroy = callback;
}

int CRYPTO_num_locks() {
  return 2;
}

X509* X509_new() {
  return &g_certificate;
}

int X509_set_version(X509* /*certificate*/, long /*version*/) {
  return 1;
}

X509_NAME* X509_NAME_new() {
  return &g_name;
}

int X509_NAME_add_entry_by_txt(X509_NAME* /*name*/, const char* /*field*/, int /*type*/,
                               const unsigned char* /*bytes*/, int /*length*/, int /*location*/,
                               int /*set*/) {
  return 1;
}

int X509_set_issuer_name(X509* /*certificate*/, X509_NAME* /*name*/) {
  return 1;
}

int X509_set_subject_name(X509* /*certificate*/, X509_NAME* /*name*/) {
  return 1;
}

void X509_NAME_free(X509_NAME* /*name*/) {}

X509_EXTENSION* X509V3_EXT_conf(CONF_VALUE_LHASH* /*configuration*/, X509V3_CTX* /*context*/,
                                char* /*name*/, char* /*value*/) {
  return &g_extension;
}

int X509_add_ext(X509* /*certificate*/, X509_EXTENSION* /*extension*/, int /*location*/) {
  return 1;
}

void X509_EXTENSION_free(X509_EXTENSION* /*extension*/) {}

extern "C" QV_DOUBLE_EXPORT ASN1_TIME* X509_getm_notBefore(X509* /*certificate*/) {
  return &g_time;
}

extern "C" QV_DOUBLE_EXPORT ASN1_TIME* X509_getm_notAfter(X509* /*certificate*/) {
  return &g_time;
}

ASN1_TIME* X509_gmtime_adj(ASN1_TIME* time, long /*seconds*/) {
  return time;
}

int ASN1_INTEGER_set(ASN1_INTEGER* /*integer*/, long /*value*/) {
  return 1;
}

ASN1_INTEGER* X509_get_serialNumber(X509* /*certificate*/) {
  return &g_serialNumber;
}

int X509_set_serialNumber(X509* /*certificate*/, ASN1_INTEGER* /*serialNumber*/) {
  return 1;
}

int X509_set_pubkey(X509* /*certificate*/, EVP_PKEY* /*key*/) {
  return 1;
}

int X509_sign(X509* /*certificate*/, EVP_PKEY* /*key*/, const EVP_MD* /*digest*/) {
  return 1;
}

void EVP_PKEY_free(EVP_PKEY* /*key*/) {}

void X509_free(X509* /*certificate*/) {}

RSA* RSA_generate_key(int /*bits*/, unsigned long /*exponent*/,
                      void (* /*callback*/)(int, int, void*), void* /*argument*/) {
  Lock();
  ++g_rsa.bits;
  return &g_rsa;
}

int RSA_check_key(const RSA* /*rsa*/) {
  return 1;
}

EVP_PKEY* EVP_PKEY_new() {
  return &g_key;
}

int EVP_PKEY_assign(EVP_PKEY* /*key*/, int /*type*/, void* /*object*/) {
  return 1;
}

extern "C" QV_DOUBLE_EXPORT RSA* EVP_PKEY_get0_RSA(EVP_PKEY* /*key*/) {
  return &g_rsa;
}

void RSA_free(RSA* /*rsa*/) {}

const EVP_MD* EVP_sha1() {
  return reinterpret_cast<const EVP_MD*>(&g_digest);
}

int PEM_ASN1_write_bio(int (* /*encode*/)(void*, unsigned char**), const char* name, BIO* /*bio*/,
                       void* /*object*/, const EVP_CIPHER* /*cipher*/,
                       unsigned char* /*passPhrase*/, int /*passPhraseLength*/,
                       int (* /*askPassPhrase*/)(char*, int, int, void*), void* /*argument*/) {
  return WriteBlock(name);
}

int i2d_RSAPrivateKey(const RSA* /*rsa*/, unsigned char** /*out*/) {
  return 1;
}

int PEM_write_bio_X509(BIO* /*bio*/, X509* /*certificate*/) {
  return WriteBlock("CERTIFICATE");
}

unsigned long ERR_get_error() {
  return 0;
}

const char* ERR_reason_error_string(unsigned long /*error*/) {
  return nullptr;
}

BIO* BIO_new_file(const char* file, const char* /*mode*/) {
  g_stream.descriptor = Open(file);
  g_stream.length = 0;
  if (g_stream.descriptor == -1) return nullptr;
  // In the real one the object comes after the file: without memory for it, the file is there.
  g_stream.memory = std::malloc(1);
  if (g_stream.memory != nullptr) return &g_file;
  ::close(g_stream.descriptor);
  return nullptr;
}

int BIO_free(BIO* /*bio*/) {
  Flush(g_stream);
  ::close(g_stream.descriptor);
  std::free(g_stream.memory);
  return 1;
}

int SSL_library_init() {
  return 1;
}

void SSL_load_error_strings() {}
