#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// A host that has shown another OpenSSL to everybody before it calls Init. That one ends the
/// process when it is called.
class OpensslInSight : public testing::Test {
 protected:
  OpensslInSight() { EXPECT_NE(stranger_, nullptr) << ::dlerror(); }

  static constexpr const char* kStranger = QV_OPENSSL_DOUBLES "/openssl_stranger.so";

  void* const stranger_ = ::dlopen(kStranger, RTLD_NOW | RTLD_GLOBAL);
  Journal& journal_ = Journal::instance();
};

TEST_F(OpensslInSight, IsNotTheOneThatIsStarted) {
  Installation installation;
  EXPECT_NE(installation.init(), nullptr);
  EXPECT_TRUE(installation.storeHas("server_certs/server_0.cer"));
  EXPECT_THAT(journal_.misuses(), IsEmpty());
}

TEST_F(OpensslInSight, IsNotCalledByTheOneBesideTheLibrary) {
  if (::dlsym(RTLD_DEFAULT, "__sanitizer_print_stack_trace") != nullptr) {
    GTEST_SKIP() << "sanitizers do not let a library be opened in a scope of its own";
  }
  Installation installation(kOpen);
  ASSERT_NE(installation.init(), nullptr);
  // The double names its encoder by the address that it has for that name itself.
  EXPECT_THAT(journal_.lines(), Contains(StartsWith("PEM_ASN1_write_bio(i2d_RSAPrivateKey, ")));
}

// What the other tests are about: it takes care to keep two of them apart.
TEST_F(OpensslInSight, IsCalledByALibraryThatIsOpenedTheUsualWay) {
  void* crypto = ::dlopen(QV_OPENSSL_DOUBLES "/open/libeay32.dylib", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(crypto, nullptr) << ::dlerror();
  const auto write =
      reinterpret_cast<int (*)(void*, const char*, void*, void*, void*, void*, int, void*, void*)>(
          ::dlsym(crypto, "PEM_ASN1_write_bio"));
  write(::dlsym(crypto, "i2d_RSAPrivateKey"), "", nullptr, nullptr, nullptr, nullptr, 0, nullptr,
        nullptr);
  EXPECT_THAT(journal_.lines(), Contains(StartsWith("PEM_ASN1_write_bio(unknown encoder, ")));
  ::dlclose(crypto);
}

TEST_F(OpensslInSight, DoesNotKeepTheOneBesideTheLibraryInMemory) {
  Installation installation;
  for (int i = 0; i < 2; ++i) {
    installation.uninit(installation.init());
    EXPECT_THAT(journal_.linesOf("load"),
                ElementsAre("load libeay32.dylib", "load libssleay32.dylib"));
    EXPECT_THAT(journal_.linesOf("unload"),
                ElementsAre("unload libeay32.dylib", "unload libssleay32.dylib"));
    journal_.clearLines();
  }
}

TEST_F(OpensslInSight, LeavesMemoryWhenItsHostWantsIt) {
  Installation installation;
  installation.uninit(installation.init());
  ASSERT_EQ(::dlclose(stranger_), 0);
  EXPECT_EQ(::dlopen(kStranger, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(OpensslInSight, DoesNotStandInForAMissingOne) {
  Installation installation;
  installation.removeOpenssl();
  EXPECT_EQ(installation.init(), nullptr);
}

}  // namespace
}  // namespace qv::tests
