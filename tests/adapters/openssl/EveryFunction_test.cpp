// What each function of the list does on the OpenSSL that is installed, called through the table
// that the service fills. A row without a check here does not compile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <memory>
#include <ostream>
#include <string>

#include "tests/adapters/openssl/OpensslMemory.h"
#include "tests/adapters/openssl/ResolvedOpenssl.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace qv::tests {
namespace {

using qvsslinit::OpensslRow;

// A function that is not in the list. The headers give its type; nothing links OpenSSL.
#define QV_OTHER(name) openssl.other<decltype(::name)>(#name)

template <typename Object>
using Owner = std::unique_ptr<Object, void (*)(Object*)>;

// Objects for the functions under test, made and freed by functions that are not.

Owner<X509> NewCertificate(const ResolvedOpenssl& openssl) {
  return {QV_OTHER(X509_new)(), QV_OTHER(X509_free)};
}

Owner<X509_NAME> NewName(const ResolvedOpenssl& openssl) {
  Owner<X509_NAME> name(QV_OTHER(X509_NAME_new)(), QV_OTHER(X509_NAME_free));
  const auto* text = reinterpret_cast<const unsigned char*>("Brenford");
  QV_OTHER(X509_NAME_add_entry_by_txt)(name.get(), "L", MBSTRING_ASC, text, -1, -1, 0);
  return name;
}

Owner<ASN1_INTEGER> NewInteger(const ResolvedOpenssl& openssl, long value) {
  Owner<ASN1_INTEGER> integer(QV_OTHER(ASN1_INTEGER_new)(), QV_OTHER(ASN1_INTEGER_free));
  QV_OTHER(ASN1_INTEGER_set)(integer.get(), value);
  return integer;
}

Owner<RSA> NewRsa(const ResolvedOpenssl& openssl) {
  Owner<RSA> rsa(QV_OTHER(RSA_new)(), QV_OTHER(RSA_free));
  const Owner<BIGNUM> exponent(QV_OTHER(BN_new)(), QV_OTHER(BN_free));
  QV_OTHER(BN_set_word)(exponent.get(), RSA_F4);
  QV_OTHER(RSA_generate_key_ex)(rsa.get(), 1024, exponent.get(), nullptr);
  return rsa;
}

Owner<EVP_PKEY> NewKey(const ResolvedOpenssl& openssl) {
  Owner<EVP_PKEY> key(QV_OTHER(EVP_PKEY_new)(), QV_OTHER(EVP_PKEY_free));
  QV_OTHER(EVP_PKEY_set1_RSA)(key.get(), NewRsa(openssl).get());
  return key;
}

/// A certificate that lacks nothing but its signature.
Owner<X509> NewCertificateFor(const ResolvedOpenssl& openssl, EVP_PKEY* key) {
  Owner<X509> certificate = NewCertificate(openssl);
  QV_OTHER(X509_set_pubkey)(certificate.get(), key);
  QV_OTHER(X509_gmtime_adj)(QV_OTHER(X509_getm_notBefore)(certificate.get()), 0);
  QV_OTHER(X509_gmtime_adj)(QV_OTHER(X509_getm_notAfter)(certificate.get()), 60);
  return certificate;
}

Owner<X509_EXTENSION> NewExtension(const ResolvedOpenssl& openssl) {
  return {QV_OTHER(X509V3_EXT_conf_nid)(nullptr, nullptr, NID_key_usage, "keyCertSign"),
          QV_OTHER(X509_EXTENSION_free)};
}

std::unique_ptr<BIO, int (*)(BIO*)> NewMemory(const ResolvedOpenssl& openssl) {
  return {QV_OTHER(BIO_new)(QV_OTHER(BIO_s_mem)()), QV_OTHER(BIO_free)};
}

bool IsSameKey(const ResolvedOpenssl& openssl, const RSA* one, const RSA* other) {
  const BIGNUM* d = QV_OTHER(RSA_get0_d)(one);
  return d != nullptr && QV_OTHER(BN_cmp)(d, QV_OTHER(RSA_get0_d)(other)) == 0;
}

/// Expects release to give back all the memory that make has taken.
template <typename Object, typename Release>
void ExpectFreed(const ResolvedOpenssl& openssl, Owner<Object> (*make)(const ResolvedOpenssl&),
                 Release release) {
  make(openssl);  // what OpenSSL sets up for all objects, once
  const long before = OpensslMemory::blocks();
  Object* object = make(openssl).release();
  ASSERT_GT(OpensslMemory::blocks(), before);
  release(object);
  EXPECT_EQ(OpensslMemory::blocks(), before);
}

/// The file that gets what is written to a BIO.
class OutputFile {
 public:
  std::string path() const { return directory_.path("file"); }
  std::string contents() const { return directory_.read("file"); }
  std::unique_ptr<BIO, int (*)(BIO*)> open(const ResolvedOpenssl& openssl) const {
    return {QV_OTHER(BIO_new_file)(path().c_str(), "w"), QV_OTHER(BIO_free)};
  }

 private:
  TemporaryDirectory directory_;
};

/// Expects time to be so many seconds from the present, which is not before begin.
void ExpectSecondsFromNow(const ResolvedOpenssl& openssl, const ASN1_TIME* time, std::time_t begin,
                          long seconds) {
  std::tm broken{};
  ASSERT_EQ(QV_OTHER(ASN1_TIME_to_tm)(time, &broken), 1);
  const std::time_t told = ::timegm(&broken);
  EXPECT_GE(told, begin + seconds);
  EXPECT_LE(told, std::time(nullptr) + seconds);
}

// The checks. Parentheses around a row keep the macros of the headers from taking its place.

template <OpensslRow>
void Check(const ResolvedOpenssl& openssl) = delete;

template <>
void Check<OpensslRow::SSL_library_init>(const ResolvedOpenssl& openssl) {
  EXPECT_EQ(QV_OTHER(OBJ_NAME_get)("AES-128-CBC", OBJ_NAME_TYPE_CIPHER_METH), nullptr);
  EXPECT_EQ((openssl.table.SSL_library_init)(), 1);
  EXPECT_NE(QV_OTHER(OBJ_NAME_get)("AES-128-CBC", OBJ_NAME_TYPE_CIPHER_METH), nullptr);
  EXPECT_EQ((openssl.table.SSL_library_init)(), 1);
}

template <>
void Check<OpensslRow::SSL_load_error_strings>(const ResolvedOpenssl& openssl) {
  const unsigned long error = ERR_PACK(ERR_LIB_SSL, 0, SSL_R_NO_SHARED_CIPHER);
  EXPECT_EQ(QV_OTHER(ERR_reason_error_string)(error), nullptr);
  (openssl.table.SSL_load_error_strings)();
  EXPECT_STREQ(QV_OTHER(ERR_reason_error_string)(error), "no shared cipher");
}

template <>
void Check<OpensslRow::OPENSSL_add_all_algorithms_noconf>(const ResolvedOpenssl& openssl) {
  const auto find = QV_OTHER(OBJ_NAME_get);
  EXPECT_EQ(find("AES-128-CBC", OBJ_NAME_TYPE_CIPHER_METH), nullptr);
  EXPECT_EQ(find("SHA256", OBJ_NAME_TYPE_MD_METH), nullptr);
  (openssl.table.OPENSSL_add_all_algorithms_noconf)();
  EXPECT_NE(find("AES-128-CBC", OBJ_NAME_TYPE_CIPHER_METH), nullptr);
  EXPECT_NE(find("SHA256", OBJ_NAME_TYPE_MD_METH), nullptr);
}

std::string g_seed;

int TakeSeed(const void* bytes, int count) {
  g_seed.append(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
  return 1;
}

template <>
void Check<OpensslRow::RAND_seed>(const ResolvedOpenssl& openssl) {
  const RAND_METHOD method = {TakeSeed, nullptr, nullptr, nullptr, nullptr, nullptr};
  ASSERT_EQ(QV_OTHER(RAND_set_rand_method)(&method), 1);
  openssl.table.RAND_seed("Wed Nov", 4);
  EXPECT_EQ(g_seed, "Wed ");
  QV_OTHER(RAND_set_rand_method)(nullptr);
}

void Lock(int /*mode*/, int /*n*/, const char* /*file*/, int /*line*/) {}

unsigned long Id() {
  return 1;
}

CRYPTO_dynlock_value* CreateDynlock(const char* /*file*/, int /*line*/) {
  return nullptr;
}

void LockDynlock(int /*mode*/, CRYPTO_dynlock_value* /*lock*/, const char* /*file*/, int /*line*/) {
}

void DestroyDynlock(CRYPTO_dynlock_value* /*lock*/, const char* /*file*/, int /*line*/) {}

/// The callback that the adapter has been given last.
template <typename Callback>
Callback Kept(const ResolvedOpenssl& openssl, const char* getter) {
  return openssl.other<Callback()>(getter)();
}

template <>
void Check<OpensslRow::CRYPTO_set_locking_callback>(const ResolvedOpenssl& openssl) {
  (openssl.table.CRYPTO_set_locking_callback)(Lock);
  EXPECT_EQ(Kept<decltype(&Lock)>(openssl, "CRYPTO_get_locking_callback"), Lock);
}

template <>
void Check<OpensslRow::CRYPTO_set_id_callback>(const ResolvedOpenssl& openssl) {
  (openssl.table.CRYPTO_set_id_callback)(Id);
  EXPECT_EQ(Kept<decltype(&Id)>(openssl, "CRYPTO_get_id_callback"), Id);
}

template <>
void Check<OpensslRow::CRYPTO_set_dynlock_create_callback>(const ResolvedOpenssl& openssl) {
  (openssl.table.CRYPTO_set_dynlock_create_callback)(CreateDynlock);
  EXPECT_EQ(Kept<decltype(&CreateDynlock)>(openssl, "CRYPTO_get_dynlock_create_callback"),
            CreateDynlock);
}

template <>
void Check<OpensslRow::CRYPTO_set_dynlock_lock_callback>(const ResolvedOpenssl& openssl) {
  (openssl.table.CRYPTO_set_dynlock_lock_callback)(LockDynlock);
  EXPECT_EQ(Kept<decltype(&LockDynlock)>(openssl, "CRYPTO_get_dynlock_lock_callback"), LockDynlock);
}

template <>
void Check<OpensslRow::CRYPTO_set_dynlock_destroy_callback>(const ResolvedOpenssl& openssl) {
  (openssl.table.CRYPTO_set_dynlock_destroy_callback)(DestroyDynlock);
  EXPECT_EQ(Kept<decltype(&DestroyDynlock)>(openssl, "CRYPTO_get_dynlock_destroy_callback"),
            DestroyDynlock);
}

template <>
void Check<OpensslRow::CRYPTO_num_locks>(const ResolvedOpenssl& openssl) {
  EXPECT_EQ((openssl.table.CRYPTO_num_locks)(), 1);
}

template <>
void Check<OpensslRow::X509_new>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate(openssl.table.X509_new(), QV_OTHER(X509_free));
  ASSERT_NE(certificate, nullptr);
  EXPECT_EQ(QV_OTHER(X509_get_version)(certificate.get()), X509_VERSION_1);
}

template <>
void Check<OpensslRow::X509_set_version>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate = NewCertificate(openssl);
  EXPECT_EQ(openssl.table.X509_set_version(certificate.get(), 2), 1);
  EXPECT_EQ(QV_OTHER(X509_get_version)(certificate.get()), X509_VERSION_3);
}

template <>
void Check<OpensslRow::X509_NAME_new>(const ResolvedOpenssl& openssl) {
  const Owner<X509_NAME> name(openssl.table.X509_NAME_new(), QV_OTHER(X509_NAME_free));
  ASSERT_NE(name, nullptr);
  EXPECT_EQ(QV_OTHER(X509_NAME_entry_count)(name.get()), 0);
}

template <>
void Check<OpensslRow::X509_NAME_add_entry_by_txt>(const ResolvedOpenssl& openssl) {
  const Owner<X509_NAME> name = NewName(openssl);
  const auto* text = reinterpret_cast<const unsigned char*>("a host");
  EXPECT_EQ(openssl.table.X509_NAME_add_entry_by_txt(name.get(), "commonName", MBSTRING_ASC, text,
                                                     -1, -1, 0),
            1);
  char shown[64];
  EXPECT_STREQ(QV_OTHER(X509_NAME_oneline)(name.get(), shown, sizeof shown),
               "/L=Brenford/CN=a host");
}

template <>
void Check<OpensslRow::X509_set_issuer_name>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate = NewCertificate(openssl);
  const Owner<X509_NAME> name = NewName(openssl);
  EXPECT_EQ(openssl.table.X509_set_issuer_name(certificate.get(), name.get()), 1);
  const X509_NAME* issuer = QV_OTHER(X509_get_issuer_name)(certificate.get());
  EXPECT_NE(issuer, name.get());
  EXPECT_EQ(QV_OTHER(X509_NAME_cmp)(issuer, name.get()), 0);
}

template <>
void Check<OpensslRow::X509_set_subject_name>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate = NewCertificate(openssl);
  const Owner<X509_NAME> name = NewName(openssl);
  EXPECT_EQ(openssl.table.X509_set_subject_name(certificate.get(), name.get()), 1);
  const X509_NAME* subject = QV_OTHER(X509_get_subject_name)(certificate.get());
  EXPECT_NE(subject, name.get());
  EXPECT_EQ(QV_OTHER(X509_NAME_cmp)(subject, name.get()), 0);
}

template <>
void Check<OpensslRow::X509_NAME_free>(const ResolvedOpenssl& openssl) {
  ExpectFreed(openssl, NewName, openssl.table.X509_NAME_free);
}

template <>
void Check<OpensslRow::X509V3_EXT_conf>(const ResolvedOpenssl& openssl) {
  char name[] = "keyUsage";
  char value[] = "digitalSignature,keyEncipherment";
  const Owner<X509_EXTENSION> extension(
      openssl.table.X509V3_EXT_conf(nullptr, nullptr, name, value), QV_OTHER(X509_EXTENSION_free));
  ASSERT_NE(extension, nullptr);
  const ASN1_OCTET_STRING* data = QV_OTHER(X509_EXTENSION_get_data)(extension.get());
  const std::string bytes(reinterpret_cast<const char*>(QV_OTHER(ASN1_STRING_get0_data)(data)),
                          static_cast<std::size_t>(QV_OTHER(ASN1_STRING_length)(data)));
  // A bit string of which the last five bits are unused; the first and the third are set.
  EXPECT_EQ(bytes, "\x03\x02\x05\xa0");
}

template <>
void Check<OpensslRow::X509_add_ext>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate = NewCertificate(openssl);
  EXPECT_EQ(openssl.table.X509_add_ext(certificate.get(), NewExtension(openssl).get(), -1), 1);
  EXPECT_EQ(QV_OTHER(X509_get_ext_count)(certificate.get()), 1);
  EXPECT_EQ(QV_OTHER(X509_get_ext_by_NID)(certificate.get(), NID_key_usage, -1), 0);
}

template <>
void Check<OpensslRow::X509_EXTENSION_free>(const ResolvedOpenssl& openssl) {
  ExpectFreed(openssl, NewExtension, openssl.table.X509_EXTENSION_free);
}

template <>
void Check<OpensslRow::X509_gmtime_adj>(const ResolvedOpenssl& openssl) {
  constexpr long kTenYears = 315360000;
  const Owner<X509> certificate = NewCertificate(openssl);
  ASN1_TIME* time = QV_OTHER(X509_getm_notAfter)(certificate.get());
  const std::time_t begin = std::time(nullptr);
  EXPECT_EQ(openssl.table.X509_gmtime_adj(time, kTenYears), time);
  ExpectSecondsFromNow(openssl, time, begin, kTenYears);
}

template <>
void Check<OpensslRow::ASN1_INTEGER_set>(const ResolvedOpenssl& openssl) {
  const Owner<ASN1_INTEGER> integer = NewInteger(openssl, 5);
  EXPECT_EQ(openssl.table.ASN1_INTEGER_set(integer.get(), -1234), 1);
  EXPECT_EQ(QV_OTHER(ASN1_INTEGER_get)(integer.get()), -1234);
}

template <>
void Check<OpensslRow::X509_get_serialNumber>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate = NewCertificate(openssl);
  ASN1_INTEGER* number = openssl.table.X509_get_serialNumber(certificate.get());
  ASSERT_NE(number, nullptr);
  EXPECT_EQ(number, QV_OTHER(X509_get0_serialNumber)(certificate.get()));
}

template <>
void Check<OpensslRow::X509_set_serialNumber>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate = NewCertificate(openssl);
  EXPECT_EQ(openssl.table.X509_set_serialNumber(certificate.get(), NewInteger(openssl, 77).get()),
            1);
  EXPECT_EQ(QV_OTHER(ASN1_INTEGER_get)(QV_OTHER(X509_get0_serialNumber)(certificate.get())), 77);
}

template <>
void Check<OpensslRow::X509_set_pubkey>(const ResolvedOpenssl& openssl) {
  const Owner<X509> certificate = NewCertificate(openssl);
  const Owner<EVP_PKEY> key = NewKey(openssl);
  EXPECT_EQ(openssl.table.X509_set_pubkey(certificate.get(), key.get()), 1);
  EXPECT_EQ(QV_OTHER(EVP_PKEY_eq)(QV_OTHER(X509_get0_pubkey)(certificate.get()), key.get()), 1);
}

template <>
void Check<OpensslRow::X509_sign>(const ResolvedOpenssl& openssl) {
  const Owner<EVP_PKEY> key = NewKey(openssl);
  const Owner<X509> certificate = NewCertificateFor(openssl, key.get());
  EXPECT_EQ(openssl.table.X509_sign(certificate.get(), key.get(), QV_OTHER(EVP_sha1)()), 128);
  EXPECT_EQ(QV_OTHER(X509_get_signature_nid)(certificate.get()), NID_sha1WithRSAEncryption);
  EXPECT_EQ(QV_OTHER(X509_verify)(certificate.get(), key.get()), 1);
  EXPECT_NE(QV_OTHER(X509_verify)(certificate.get(), NewKey(openssl).get()), 1);
}

template <>
void Check<OpensslRow::EVP_PKEY_free>(const ResolvedOpenssl& openssl) {
  ExpectFreed(openssl, NewKey, openssl.table.EVP_PKEY_free);
}

template <>
void Check<OpensslRow::X509_free>(const ResolvedOpenssl& openssl) {
  ExpectFreed(openssl, NewCertificate, openssl.table.X509_free);
}

void CountStep(int /*phase*/, int /*step*/, void* count) {
  ++*static_cast<int*>(count);
}

template <>
void Check<OpensslRow::RSA_generate_key>(const ResolvedOpenssl& openssl) {
  int steps = 0;
  const Owner<RSA> rsa(openssl.table.RSA_generate_key(1024, 65537, CountStep, &steps),
                       QV_OTHER(RSA_free));
  ASSERT_NE(rsa, nullptr);
  EXPECT_EQ(QV_OTHER(RSA_bits)(rsa.get()), 1024);
  EXPECT_EQ(QV_OTHER(BN_is_word)(QV_OTHER(RSA_get0_e)(rsa.get()), 65537), 1);
  EXPECT_GT(steps, 0);
}

template <>
void Check<OpensslRow::RSA_check_key>(const ResolvedOpenssl& openssl) {
  const Owner<RSA> rsa = NewRsa(openssl);
  EXPECT_EQ(openssl.table.RSA_check_key(rsa.get()), 1);
  BIGNUM* exponent = QV_OTHER(BN_new)();
  QV_OTHER(BN_set_word)(exponent, 3);
  ASSERT_EQ(QV_OTHER(RSA_set0_key)(rsa.get(), nullptr, exponent, nullptr), 1);
  EXPECT_EQ(openssl.table.RSA_check_key(rsa.get()), 0);
}

template <>
void Check<OpensslRow::EVP_PKEY_new>(const ResolvedOpenssl& openssl) {
  const Owner<EVP_PKEY> key(openssl.table.EVP_PKEY_new(), QV_OTHER(EVP_PKEY_free));
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(QV_OTHER(EVP_PKEY_get_id)(key.get()), EVP_PKEY_NONE);
}

template <>
void Check<OpensslRow::EVP_PKEY_assign>(const ResolvedOpenssl& openssl) {
  const Owner<EVP_PKEY> key(QV_OTHER(EVP_PKEY_new)(), QV_OTHER(EVP_PKEY_free));
  RSA* rsa = NewRsa(openssl).release();
  EXPECT_EQ(openssl.table.EVP_PKEY_assign(key.get(), EVP_PKEY_RSA, rsa), 1);
  EXPECT_EQ(QV_OTHER(EVP_PKEY_get0_RSA)(key.get()), rsa);
}

template <>
void Check<OpensslRow::RSA_free>(const ResolvedOpenssl& openssl) {
  ExpectFreed(openssl, NewRsa, openssl.table.RSA_free);
}

template <>
void Check<OpensslRow::EVP_sha1>(const ResolvedOpenssl& openssl) {
  const EVP_MD* digest = openssl.table.EVP_sha1();
  ASSERT_NE(digest, nullptr);
  EXPECT_EQ(QV_OTHER(EVP_MD_get_type)(digest), NID_sha1);
}

template <>
void Check<OpensslRow::PEM_ASN1_write_bio>(const ResolvedOpenssl& openssl) {
  const Owner<RSA> rsa = NewRsa(openssl);
  const auto memory = NewMemory(openssl);
  EXPECT_EQ(openssl.table.PEM_ASN1_write_bio(
                reinterpret_cast<int (*)(void*, unsigned char**)>(QV_OTHER(i2d_RSAPrivateKey)),
                "RSA PRIVATE KEY", memory.get(), rsa.get(), nullptr, nullptr, 0, nullptr, nullptr),
            1);
  const Owner<RSA> read(
      QV_OTHER(PEM_read_bio_RSAPrivateKey)(memory.get(), nullptr, nullptr, nullptr),
      QV_OTHER(RSA_free));
  ASSERT_NE(read, nullptr);
  EXPECT_TRUE(IsSameKey(openssl, read.get(), rsa.get()));
}

template <>
void Check<OpensslRow::i2d_RSAPrivateKey>(const ResolvedOpenssl& openssl) {
  const Owner<RSA> rsa = NewRsa(openssl);
  unsigned char bytes[1024];
  unsigned char* end = bytes;
  const int length = openssl.table.i2d_RSAPrivateKey(rsa.get(), &end);
  ASSERT_EQ(end - bytes, length);
  const unsigned char* begin = bytes;
  const Owner<RSA> read(QV_OTHER(d2i_RSAPrivateKey)(nullptr, &begin, length), QV_OTHER(RSA_free));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(begin, end);
  EXPECT_TRUE(IsSameKey(openssl, read.get(), rsa.get()));
}

template <>
void Check<OpensslRow::PEM_write_bio_X509>(const ResolvedOpenssl& openssl) {
  const Owner<EVP_PKEY> key = NewKey(openssl);
  const Owner<X509> certificate = NewCertificateFor(openssl, key.get());
  QV_OTHER(X509_sign)(certificate.get(), key.get(), QV_OTHER(EVP_sha1)());
  const auto memory = NewMemory(openssl);
  EXPECT_EQ(openssl.table.PEM_write_bio_X509(memory.get(), certificate.get()), 1);
  const Owner<X509> read(QV_OTHER(PEM_read_bio_X509)(memory.get(), nullptr, nullptr, nullptr),
                         QV_OTHER(X509_free));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(QV_OTHER(X509_cmp)(read.get(), certificate.get()), 0);
}

/// An error that only a failed call leaves behind, and its text.
void FailToMakeAnExtension(const ResolvedOpenssl& openssl) {
  ASSERT_EQ(QV_OTHER(X509V3_EXT_conf_nid)(nullptr, nullptr, NID_key_usage, "noSuchUse"), nullptr);
}
constexpr const char* kItsText = "unknown bit string argument";

template <>
void Check<OpensslRow::ERR_get_error>(const ResolvedOpenssl& openssl) {
  EXPECT_EQ(openssl.table.ERR_get_error(), 0U);
  FailToMakeAnExtension(openssl);
  const unsigned long error = openssl.table.ERR_get_error();
  EXPECT_STREQ(QV_OTHER(ERR_reason_error_string)(error), kItsText);
  QV_OTHER(ERR_clear_error)();
  EXPECT_EQ(openssl.table.ERR_get_error(), 0U);
}

template <>
void Check<OpensslRow::ERR_reason_error_string>(const ResolvedOpenssl& openssl) {
  FailToMakeAnExtension(openssl);
  const unsigned long error = QV_OTHER(ERR_get_error)();
  EXPECT_STREQ(openssl.table.ERR_reason_error_string(error), kItsText);
  QV_OTHER(ERR_clear_error)();
}

template <>
void Check<OpensslRow::BIO_new_file>(const ResolvedOpenssl& openssl) {
  const OutputFile file;
  BIO* bio = openssl.table.BIO_new_file(file.path().c_str(), "w");
  ASSERT_NE(bio, nullptr);
  EXPECT_EQ(QV_OTHER(BIO_puts)(bio, "text\n"), 5);
  EXPECT_EQ(QV_OTHER(BIO_free)(bio), 1);
  EXPECT_EQ(file.contents(), "text\n");
  EXPECT_EQ(openssl.table.BIO_new_file((file.path() + "/in it").c_str(), "w"), nullptr);
}

template <>
void Check<OpensslRow::BIO_free>(const ResolvedOpenssl& openssl) {
  const OutputFile file;
  BIO* bio = file.open(openssl).release();
  EXPECT_EQ(QV_OTHER(BIO_puts)(bio, "text\n"), 5);
  EXPECT_EQ(file.contents(), "");
  EXPECT_EQ(openssl.table.BIO_free(bio), 1);
  EXPECT_EQ(file.contents(), "text\n");
  EXPECT_EQ(openssl.table.BIO_free(nullptr), 0);
}

struct Case {
  OpensslRow row;
  const char* name;
  void (*check)(const ResolvedOpenssl& openssl);
};

void PrintTo(const Case& each, std::ostream* out) {
  *out << each.name;
}

constexpr Case kCases[] = {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  {OpensslRow::name, #name, &Check<OpensslRow::name>},
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
};

class EveryFunction : public testing::TestWithParam<Case> {};

TEST_P(EveryFunction, DoesItsWorkWhenItIsCalledThroughTheTable) {
  const ResolvedOpenssl openssl;
  OpensslMemory::count(QV_OTHER(CRYPTO_set_mem_functions));
  GetParam().check(openssl);
  EXPECT_GE(openssl.callsOf(GetParam().row), 1);
}

INSTANTIATE_TEST_SUITE_P(OfTheList, EveryFunction, testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace qv::tests
