#include "tests/adapters/openssl/Adapters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <type_traits>

#include "source/OpensslFunctionPointers.h"

// The adapters by themselves, as libraries.

namespace qv::tests {
namespace {

using qvsslinit::OpensslFunctionPointers;

const std::string kCryptoFile = QV_LIBRARY_DIRECTORY "/libeay32.dylib";
const std::string kSslFile = QV_LIBRARY_DIRECTORY "/libssleay32.dylib";

#define QV_FIND(adapter, name) \
  (adapter).function<std::remove_pointer_t<decltype(OpensslFunctionPointers::name)>>(#name)

/// What an adapter is to define, from the list that is kept with the tests.
std::set<std::string> Defined(const std::string& list) {
  std::ifstream file(QV_EXPORT_LISTS "/" + list);
  return {std::istream_iterator<std::string>(file), {}};
}

/// The name of the file in which each function of the list is found through an adapter.
std::map<std::string, std::string> Places(const Adapter& adapter) {
  std::map<std::string, std::string> places;
  const auto look = [&](const char* name) {
    void* found = adapter.find(name);
    places[name] = found == nullptr ? "nowhere" : FileOf(found);
  };
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) look(#name);
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  return places;
}

/// The same as it should be: in the adapter what it defines, nowhere what the other one defines,
/// and everything else in the system's libcrypto.
std::map<std::string, std::string> Expected(const std::string& adapter,
                                            const std::set<std::string>& own,
                                            const std::set<std::string>& others) {
  const std::string libcrypto = std::filesystem::canonical(QV_LIBCRYPTO);
  const std::string self = std::filesystem::canonical(adapter);
  std::map<std::string, std::string> places;
  const auto expect = [&](const char* name) {
    places[name] = own.count(name) != 0 ? self : others.count(name) != 0 ? "nowhere" : libcrypto;
  };
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) expect(#name);
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  return places;
}

TEST(Adapters, LeadToOpensslForAllThatTheyDoNotDefine) {
  const Adapter crypto(kCryptoFile);
  const Adapter ssl(kSslFile);
  const auto ofCrypto = Defined("crypto_exports.txt");
  const auto ofSsl = Defined("ssl_exports.txt");
  EXPECT_EQ(Places(crypto), Expected(kCryptoFile, ofCrypto, ofSsl));
  EXPECT_EQ(Places(ssl), Expected(kSslFile, ofSsl, ofCrypto));
  EXPECT_EQ(FileOf(ssl.find("SSL_CTX_new")), std::filesystem::canonical(QV_LIBSSL));
}

TEST(Adapters, HaveEachFunctionInTheOneThatTheListNames) {
  const Adapter crypto(kCryptoFile);
  const Adapter ssl(kSslFile);
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  EXPECT_NE(library.find(#name), nullptr) << #name;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
}

TEST(Adapters, LeaveMemoryWhereOpensslStays) {
  { const Adapter crypto(kCryptoFile), ssl(kSslFile); }
  EXPECT_EQ(::dlopen(kCryptoFile.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_EQ(::dlopen(kSslFile.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_NE(::dlopen(QV_LIBCRYPTO, RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_NE(::dlopen(QV_LIBSSL, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

int g_callbackCalls = 0;

void CountLock(int /*mode*/, int /*n*/, const char* /*file*/, int /*line*/) {
  ++g_callbackCalls;
}

unsigned long CountId() {
  ++g_callbackCalls;
  return 1;
}

CRYPTO_dynlock_value* CountCreate(const char* /*file*/, int /*line*/) {
  ++g_callbackCalls;
  return nullptr;
}

void CountDynlock(int /*mode*/, CRYPTO_dynlock_value* /*lock*/, const char* /*file*/,
                  int /*line*/) {
  ++g_callbackCalls;
}

void CountDestroy(CRYPTO_dynlock_value* /*lock*/, const char* /*file*/, int /*line*/) {
  ++g_callbackCalls;
}

TEST(Adapters, NeverCallTheCallbacks) {
  const Adapter crypto(kCryptoFile);
  QV_FIND(crypto, CRYPTO_set_locking_callback)(CountLock);
  QV_FIND(crypto, CRYPTO_set_id_callback)(CountId);
  QV_FIND(crypto, CRYPTO_set_dynlock_create_callback)(CountCreate);
  QV_FIND(crypto, CRYPTO_set_dynlock_lock_callback)(CountDynlock);
  QV_FIND(crypto, CRYPTO_set_dynlock_destroy_callback)(CountDestroy);
  auto* rsa = QV_FIND(crypto, RSA_generate_key)(1024, 65537, nullptr, nullptr);
  ASSERT_NE(rsa, nullptr);
  QV_FIND(crypto, RSA_free)(rsa);
  EXPECT_EQ(g_callbackCalls, 0);
}

// An adapter as it is made for an OpenSSL without the old key generator. The one at hand may have
// it all the same: the adapter's own is found first.
class AdapterWithKeyGenerator : public testing::Test {
 protected:
  AdapterWithKeyGenerator() {
    EXPECT_EQ(FileOf(adapter_.find("RSA_generate_key")), QV_ADAPTER_WITH_KEY_GENERATOR);
  }

  Adapter adapter_{QV_ADAPTER_WITH_KEY_GENERATOR};
};

TEST_F(AdapterWithKeyGenerator, MakesAKeyThatChecksAndReportsItsProgress) {
  int steps = 0;
  const auto progress = [](int /*phase*/, int /*step*/, void* argument) {
    ++*static_cast<int*>(argument);
  };
  rsa_st* rsa = QV_FIND(adapter_, RSA_generate_key)(1024, 65537, progress, &steps);
  ASSERT_NE(rsa, nullptr);
  EXPECT_EQ(QV_FIND(adapter_, RSA_check_key)(rsa), 1);
  EXPECT_GT(steps, 0);
  QV_FIND(adapter_, RSA_free)(rsa);
}

TEST_F(AdapterWithKeyGenerator, WorksWithoutAProgressCallback) {
  rsa_st* rsa = QV_FIND(adapter_, RSA_generate_key)(1024, 3, nullptr, nullptr);
  ASSERT_NE(rsa, nullptr);
  EXPECT_EQ(QV_FIND(adapter_, RSA_check_key)(rsa), 1);
  QV_FIND(adapter_, RSA_free)(rsa);
}

TEST_F(AdapterWithKeyGenerator, GivesNullForAKeyThatCannotBe) {
  EXPECT_EQ(QV_FIND(adapter_, RSA_generate_key)(1024, 2, nullptr, nullptr), nullptr);
}

}  // namespace
}  // namespace qv::tests
