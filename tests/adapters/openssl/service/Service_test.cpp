#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>

#include <cstdio>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/adapters/openssl/Adapters.h"
#include "tests/adapters/openssl/OpensslMemory.h"
#include "tests/adapters/openssl/Situations.h"
#include "tests/adapters/openssl/TlsConnection.h"
#include "tests/doubles/openssl/OpensslDouble.h"

// The library that is shipped, over the adapters, in hosts that have this or that of OpenSSL.

namespace qv::tests {
namespace {

using testing::EndsWith;
using testing::StartsWith;

const std::string kCryptoAdapter = QV_LIBRARY_DIRECTORY "/libeay32.dylib";
const std::string kSslAdapter = QV_LIBRARY_DIRECTORY "/libssleay32.dylib";

/// What the openssl command prints. It is a process of its own: what is in this one is nothing to
/// it.
std::string OpensslCommand(const std::string& arguments) {
  const std::string command = "env -i PATH=/usr/bin:/bin openssl " + arguments + " 2>/dev/null";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"),
                                                               ::pclose);
  std::string text;
  for (int byte = std::fgetc(output.get()); byte != EOF; byte = std::fgetc(output.get()))
    text.push_back(static_cast<char>(byte));
  return text;
}

/// A site with the library and the adapters.
class Site {
 public:
  Site() : Site(kCryptoAdapter) {}
  explicit Site(const std::string& cryptoAdapter) : installation_(cryptoAdapter, kSslAdapter) {}

  void init() {
    handle_ = installation_.init();
    ASSERT_NE(handle_, nullptr);
  }
  void uninit() { installation_.uninit(handle_); }

  // The files as the library has opened them. They stay in memory as long as one of these lives.
  Adapter crypto() const {
    return Adapter(installation_.directory().path(Installation::kCryptoFile), RTLD_NOLOAD);
  }
  Adapter ssl() const {
    return Adapter(installation_.directory().path(Installation::kSslFile), RTLD_NOLOAD);
  }
  bool hasAdaptersInMemory() const {
    return isInMemory(Installation::kCryptoFile) || isInMemory(Installation::kSslFile);
  }

  std::string key() const { return installation_.inStore("server_certs/server_0.key"); }
  std::string certificate() const { return installation_.inStore("server_certs/server_0.cer"); }

  std::string say(const std::string& words) const {
    return SayThroughTls(ssl(), words, key(), certificate());
  }

  void expectPairThatBelongsTogether() const {
    EXPECT_THAT(OpensslCommand("rsa -check -noout -in " + key()), StartsWith("RSA key ok"));
    EXPECT_EQ(OpensslCommand("verify -check_ss_sig -auth_level 0 -CAfile " + certificate() + " " +
                             certificate()),
              certificate() + ": OK\n");
    const std::string publicKey = OpensslCommand("rsa -pubout -in " + key());
    EXPECT_THAT(publicKey, EndsWith("-----END PUBLIC KEY-----\n"));
    EXPECT_EQ(OpensslCommand("x509 -pubkey -noout -in " + certificate()), publicKey);
  }

 private:
  bool isInMemory(const char* file) const {
    void* library = ::dlopen(installation_.directory().path(file).c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) ::dlclose(library);
    return library != nullptr;
  }

  Installation installation_;
  QvSslInitHandle* handle_ = nullptr;
};

class ServiceInAHostWith : public testing::TestWithParam<Situation> {
 protected:
  Host host_{GetParam()};
  Site site_;
};

TEST_P(ServiceInAHostWith, StartsTheOpensslThatTheAdaptersNeed) {
  site_.init();
  EXPECT_EQ(FileOf(site_.crypto().find("X509_new")), host_.expectedCrypto());
  EXPECT_EQ(FileOf(site_.ssl().find("SSL_CTX_new")), host_.expectedSsl());
}

TEST_P(ServiceInAHostWith, MakesAKeyAndACertificateThatBelongTogether) {
  site_.init();
  site_.expectPairThatBelongsTogether();
}

TEST_P(ServiceInAHostWith, CanBeStartedAgainAfterTheLastUninit) {
  site_.init();
  EXPECT_EQ(site_.say("first"), "first");
  site_.uninit();
  EXPECT_FALSE(site_.hasAdaptersInMemory());
  site_.init();
  EXPECT_TRUE(site_.hasAdaptersInMemory());
  EXPECT_EQ(site_.say("second"), "second");
  site_.uninit();
}

/// A thread that uses the OpenSSL of a site so that it has state of its own there, and does not end
/// before it is told to.
class UserOfOpenssl {
 public:
  explicit UserOfOpenssl(const Site& site) : thread_([&] { use(site); }) {
    isUsed_.get_future().wait();
  }
  UserOfOpenssl(const UserOfOpenssl&) = delete;
  UserOfOpenssl& operator=(const UserOfOpenssl&) = delete;
  ~UserOfOpenssl() {
    if (thread_.joinable()) end();
  }

  void end() {
    mayEnd_.set_value();
    thread_.join();
  }

 private:
  void use(const Site& site) {
    EXPECT_EQ(site.say("from a thread"), "from a thread");
    leaveAnError(site.crypto());
    isUsed_.set_value();
    mayEnd_.get_future().wait();
  }

  static void leaveAnError(const Adapter& crypto) {
    crypto.function<void*(const char*, const char*)>("BIO_new_file")("/no/such/file", "r");
    EXPECT_NE(crypto.function<decltype(::ERR_peek_error)>("ERR_peek_error")(), 0U);
  }

  std::promise<void> isUsed_;
  std::promise<void> mayEnd_;
  std::thread thread_;
};

TEST_P(ServiceInAHostWith, MayBeOutlivedByAThreadThatUsedOpenssl) {
  site_.init();
  UserOfOpenssl user(site_);
  site_.uninit();
  EXPECT_FALSE(site_.hasAdaptersInMemory());
  user.end();
}

TEST(Openssl, FreesTheStateOfAThreadThatEndsAfterTheLastUninit) {
  void* crypto = ::dlopen(QV_LIBCRYPTO, RTLD_NOW);
  OpensslMemory::count(reinterpret_cast<decltype(&::CRYPTO_set_mem_functions)>(
      ::dlsym(crypto, "CRYPTO_set_mem_functions")));
  ::dlclose(crypto);
  Site site;
  site.init();
  UserOfOpenssl user(site);
  site.uninit();
  const long before = OpensslMemory::blocks();
  user.end();
  EXPECT_LT(OpensslMemory::blocks(), before);
}

/// Those in which the library can see to it that OpenSSL is bound to itself.
std::vector<Situation> Situations() {
  std::vector<Situation> situations = {Situation::Nothing, Situation::TheSame,
                                       Situation::TheSameUnseen, Situation::ACopy};
  if (!IsSanitized()) {
    situations.insert(situations.end(), {Situation::AStranger, Situation::ARenamedCopy});
  }
  return situations;
}

INSTANTIATE_TEST_SUITE_P(All, ServiceInAHostWith, testing::ValuesIn(Situations()),
                         [](const auto& info) { return std::string(NameOf(info.param)); });

/// The adapter as it is made for an OpenSSL without the old key generator, whose functions it calls
/// by itself.
class ServiceOverTheKeyGenerator : public testing::TestWithParam<Situation> {};

TEST_P(ServiceOverTheKeyGenerator, MakesAKeyAndACertificateThatBelongTogether) {
  const Host host(GetParam());
  Site site(QV_ADAPTER_WITH_KEY_GENERATOR);
  site.init();
  site.expectPairThatBelongsTogether();
}

INSTANTIATE_TEST_SUITE_P(All, ServiceOverTheKeyGenerator, testing::ValuesIn(Situations()),
                         [](const auto& info) { return std::string(NameOf(info.param)); });

}  // namespace
}  // namespace qv::tests
