#include <cstdio>

#include "tests/doubles/openssl/Call.h"
#include "tests/doubles/openssl/Exports.h"
#include "tests/doubles/openssl/Objects.h"
#include "tests/doubles/openssl/Presence.h"

using qv::tests::Call;
using qv::tests::Journal;

namespace {

/// The crypto double forgets its callbacks when it goes, unless it never really goes.
class CryptoPresence {
 public:
  CryptoPresence() = default;
  CryptoPresence(const CryptoPresence&) = delete;
  CryptoPresence& operator=(const CryptoPresence&) = delete;
  ~CryptoPresence() {
    Journal::instance().setCallbacks([](Journal::Callbacks& callbacks) { callbacks = {}; });
  }

 private:
  qv::tests::Presence presence_{"libeay32.dylib"};
};

const CryptoPresence g_Presence;

const char g_Sha1 = 0;

template <typename Object>
Object* Make(const char* kind) {
  auto* object = new Object();
  Journal::instance().born(object, kind);
  return object;
}

/// Whether the object may be used: OpenSSL would crash on a null.
bool Usable(const char* function, const void* object) {
  if (object == nullptr) Journal::instance().misuse(std::string(function) + " of null");
  return object != nullptr;
}

bool Release(const void* object) {
  return object != nullptr && Journal::instance().release(object);
}

void ReleaseKey(EVP_PKEY* key) {
  if (!Release(key)) return;
  Release(key->held);
}

bool WriteBlock(BIO* bio, const char* name, const std::string& contents) {
  return std::fprintf(static_cast<std::FILE*>(bio->file),
                      "-----BEGIN %s-----\n%s\n-----END %s-----\n", name, contents.c_str(),
                      name) > 0;
}

}  // namespace

void OPENSSL_add_all_algorithms_noconf() {
  Call("OPENSSL_add_all_algorithms_noconf").result([] {});
}

void RAND_seed(const void* bytes, int count) {
  const std::string text(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
  Call("RAND_seed", text.c_str(), count).result([] {});
}

void CRYPTO_set_locking_callback(void (*callback)(int, int, const char*, int)) {
  Call("CRYPTO_set_locking_callback", callback).result([] {});
  Journal::instance().setCallbacks([=](auto& callbacks) { callbacks.locking = callback; });
}

void CRYPTO_set_id_callback(unsigned long (*callback)()) {
  Call("CRYPTO_set_id_callback", callback).result([] {});
  Journal::instance().setCallbacks([=](auto& callbacks) { callbacks.id = callback; });
}

void CRYPTO_set_dynlock_create_callback(CRYPTO_dynlock_value* (*callback)(const char*, int)) {
  Call("CRYPTO_set_dynlock_create_callback", callback).result([] {});
  Journal::instance().setCallbacks([=](auto& callbacks) { callbacks.dynlockCreate = callback; });
}

void CRYPTO_set_dynlock_lock_callback(void (*callback)(int, CRYPTO_dynlock_value*, const char*,
                                                       int)) {
  Call("CRYPTO_set_dynlock_lock_callback", callback).result([] {});
  Journal::instance().setCallbacks([=](auto& callbacks) { callbacks.dynlockLock = callback; });
}

void CRYPTO_set_dynlock_destroy_callback(void (*callback)(CRYPTO_dynlock_value*, const char*,
                                                          int)) {
  Call("CRYPTO_set_dynlock_destroy_callback", callback).result([] {});
  Journal::instance().setCallbacks([=](auto& callbacks) { callbacks.dynlockDestroy = callback; });
}

int CRYPTO_num_locks() {
  return Call("CRYPTO_num_locks").result([] { return 1; });
}

X509* X509_new() {
  return Call("X509_new").result([] {
    auto* x = Make<X509>("x509");
    auto& journal = Journal::instance();
    journal.bornInside(&x->serialNumber, "serialNumber", x);
    journal.bornInside(&x->notBefore, "notBefore", x);
    journal.bornInside(&x->notAfter, "notAfter", x);
    x->validity = {&x->notBefore, &x->notAfter};
    x->info.serialNumber = &x->serialNumber;
    x->info.validity = &x->validity;
    if (QV_DOUBLE_OPEN_CERTIFICATES) x->cert_info = &x->info;
    return x;
  });
}

int X509_set_version(X509* certificate, long version) {
  return Call("X509_set_version", certificate, version).result([&] {
    return Usable("X509_set_version", certificate) ? 1 : 0;
  });
}

X509_NAME* X509_NAME_new() {
  return Call("X509_NAME_new").result([] { return Make<X509_NAME>("name"); });
}

int X509_NAME_add_entry_by_txt(X509_NAME* name, const char* field, int type,
                               const unsigned char* bytes, int length, int location, int set) {
  return Call("X509_NAME_add_entry_by_txt", name, field, type, reinterpret_cast<const char*>(bytes),
              length, location, set)
      .result([&] { return Usable("X509_NAME_add_entry_by_txt", name) ? 1 : 0; });
}

int X509_set_issuer_name(X509* certificate, X509_NAME* name) {
  return Call("X509_set_issuer_name", certificate, name).result([&] {
    return Usable("X509_set_issuer_name", certificate) ? 1 : 0;
  });
}

int X509_set_subject_name(X509* certificate, X509_NAME* name) {
  return Call("X509_set_subject_name", certificate, name).result([&] {
    return Usable("X509_set_subject_name", certificate) ? 1 : 0;
  });
}

void X509_NAME_free(X509_NAME* name) {
  Call("X509_NAME_free", name).result([&] { Release(name); });
}

X509_EXTENSION* X509V3_EXT_conf(CONF_VALUE_LHASH* configuration, X509V3_CTX* context, char* name,
                                char* value) {
  return Call("X509V3_EXT_conf", configuration, context, name, value).result([] {
    return Make<X509_EXTENSION>("extension");
  });
}

int X509_add_ext(X509* certificate, X509_EXTENSION* extension, int location) {
  return Call("X509_add_ext", certificate, extension, location).result([&] {
    return Usable("X509_add_ext", certificate) && Usable("X509_add_ext", extension) ? 1 : 0;
  });
}

void X509_EXTENSION_free(X509_EXTENSION* extension) {
  Call("X509_EXTENSION_free", extension).result([&] { Release(extension); });
}

ASN1_TIME* X509_gmtime_adj(ASN1_TIME* time, long seconds) {
  return Call("X509_gmtime_adj", time, seconds).result([&] {
    Usable("X509_gmtime_adj", time);
    return time;
  });
}

int ASN1_INTEGER_set(ASN1_INTEGER* integer, long value) {
  return Call("ASN1_INTEGER_set", integer, value).result([&] {
    return Usable("ASN1_INTEGER_set", integer) ? 1 : 0;
  });
}

ASN1_INTEGER* X509_get_serialNumber(X509* certificate) {
  return Call("X509_get_serialNumber", certificate).result([&] {
    return &certificate->serialNumber;
  });
}

int X509_set_serialNumber(X509* certificate, ASN1_INTEGER* serialNumber) {
  return Call("X509_set_serialNumber", certificate, serialNumber).result([] { return 1; });
}

int X509_set_pubkey(X509* certificate, EVP_PKEY* key) {
  return Call("X509_set_pubkey", certificate, key).result([&] {
    if (!Usable("X509_set_pubkey", certificate) || !Usable("X509_set_pubkey", key)) return 0;
    Journal::instance().share(key);
    certificate->publicKey = key;
    return 1;
  });
}

int X509_sign(X509* certificate, EVP_PKEY* key, const EVP_MD* digest) {
  const std::string digestName =
      digest == reinterpret_cast<const EVP_MD*>(&g_Sha1) ? "sha1" : "unknown digest";
  return Call("X509_sign", certificate, key, digestName).result([&] {
    const bool usable =
        Usable("X509_sign", certificate) && Usable("X509_sign", key) && Usable("X509_sign", digest);
    return usable ? 128 : 0;
  });
}

void EVP_PKEY_free(EVP_PKEY* key) {
  Call("EVP_PKEY_free", key).result([&] { ReleaseKey(key); });
}

void X509_free(X509* certificate) {
  Call("X509_free", certificate).result([&] {
    if (Release(certificate)) ReleaseKey(certificate->publicKey);
  });
}

RSA* RSA_generate_key(int bits, unsigned long exponent, void (*callback)(int, int, void*),
                      void* argument) {
  return Call("RSA_generate_key", bits, exponent, callback, argument).result([&] {
    RSA* rsa = Make<RSA>("rsa");
    rsa->bits = bits;
    return rsa;
  });
}

int RSA_check_key(const RSA* rsa) {
  return Call("RSA_check_key", rsa).result([&] { return Usable("RSA_check_key", rsa) ? 1 : 0; });
}

EVP_PKEY* EVP_PKEY_new() {
  return Call("EVP_PKEY_new").result([] { return Make<EVP_PKEY>("key"); });
}

int EVP_PKEY_assign(EVP_PKEY* key, int type, void* object) {
  return Call("EVP_PKEY_assign", key, type, static_cast<RSA*>(object)).result([&] {
    if (!Usable("EVP_PKEY_assign", key) || !Usable("EVP_PKEY_assign", object)) return 0;
    key->type = type;
    key->held = static_cast<RSA*>(object);
    if (QV_DOUBLE_OPEN_KEYS) key->pkey.rsa = key->held;
    return 1;
  });
}

void RSA_free(RSA* rsa) {
  Call("RSA_free", rsa).result([&] { Release(rsa); });
}

const EVP_MD* EVP_sha1() {
  return Call("EVP_sha1").result([] { return reinterpret_cast<const EVP_MD*>(&g_Sha1); });
}

int PEM_ASN1_write_bio(int (*encode)(void*, unsigned char**), const char* name, BIO* bio,
                       void* object, const EVP_CIPHER* cipher, unsigned char* passPhrase,
                       int passPhraseLength, int (*askPassPhrase)(char*, int, int, void*),
                       void* argument) {
  const std::string encoder =
      encode == reinterpret_cast<int (*)(void*, unsigned char**)>(&i2d_RSAPrivateKey)
          ? "i2d_RSAPrivateKey"
          : "unknown encoder";
  return Call("PEM_ASN1_write_bio", encoder, name, bio, object, cipher, passPhrase,
              passPhraseLength, askPassPhrase, argument)
      .result([&] {
        const bool usable =
            Usable("PEM_ASN1_write_bio", bio) && Usable("PEM_ASN1_write_bio", object);
        return usable && WriteBlock(bio, name, Journal::instance().nameOf(object)) ? 1 : 0;
      });
}

int i2d_RSAPrivateKey(const RSA* rsa, unsigned char** /*out*/) {
  return Call("i2d_RSAPrivateKey", rsa).result([] { return 1; });
}

int PEM_write_bio_X509(BIO* bio, X509* certificate) {
  return Call("PEM_write_bio_X509", bio, certificate).result([&] {
    const bool usable =
        Usable("PEM_write_bio_X509", bio) && Usable("PEM_write_bio_X509", certificate);
    return usable && WriteBlock(bio, "CERTIFICATE", Journal::instance().nameOf(certificate)) ? 1
                                                                                             : 0;
  });
}

unsigned long ERR_get_error() {
  return Call("ERR_get_error").result([] { return 218529960UL; });
}

const char* ERR_reason_error_string(unsigned long error) {
  return Call("ERR_reason_error_string", error).result([] {
    return static_cast<const char*>("wrong tag");
  });
}

BIO* BIO_new_file(const char* file, const char* mode) {
  return Call("BIO_new_file", file, mode).result([&]() -> BIO* {
    std::FILE* opened = std::fopen(file, mode);
    if (opened == nullptr) return nullptr;
    BIO* bio = Make<BIO>("bio");
    bio->file = opened;
    return bio;
  });
}

int BIO_free(BIO* bio) {
  return Call("BIO_free", bio).result([&] {
    if (Release(bio)) std::fclose(static_cast<std::FILE*>(bio->file));
    return 1;
  });
}
