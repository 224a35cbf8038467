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
  OpensslInSight() {
    EXPECT_NE(::dlopen(QV_OPENSSL_DOUBLES "/openssl_stranger.so", RTLD_NOW | RTLD_GLOBAL), nullptr)
        << ::dlerror();
  }

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

TEST_F(OpensslInSight, DoesNotStandInForAMissingOne) {
  Installation installation;
  installation.removeOpenssl();
  EXPECT_EQ(installation.init(), nullptr);
}

}  // namespace
}  // namespace qv::tests
