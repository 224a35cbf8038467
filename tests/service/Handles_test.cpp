#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "source/SslInitializer.h"
#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kLoaded = "1 | SslInitializerImplementation::LoadLibrary | ";
constexpr const char* kReleased = "1 | SslInitializerImplementation::ReleaseLibrary | ";

std::string Returning(const char* where, const char* status, int handle, int count) {
  return std::string(where) + "returning status=" + status + ", handle=" + std::to_string(handle) +
         ", refCount_=" + std::to_string(count);
}

class Handles : public testing::Test {
 protected:
  Installation installation_;
  TraceRecords traces_{installation_.traceSink()};
  Journal& journal_ = Journal::instance();
};

TEST_F(Handles, UninitOfNullDoesNothing) {
  installation_.uninit(nullptr);
  EXPECT_THAT(journal_.lines(), IsEmpty());
  EXPECT_THAT(traces_.all(), IsEmpty());
}

TEST_F(Handles, AreDistinctObjectsWithNumbersFromOneOn) {
  QvSslInitHandle* first = installation_.init();
  QvSslInitHandle* second = installation_.init();
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
  EXPECT_THAT(traces_.under("1"),
              ElementsAre(Returning(kLoaded, "ok", 1, 1), Returning(kLoaded, "ok", 2, 2)));
}

TEST_F(Handles, TheSecondInitOnlyCounts) {
  ASSERT_NE(installation_.init(), nullptr);
  journal_.clearLines();
  ASSERT_NE(installation_.init(), nullptr);
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

TEST_F(Handles, TheSecondOfTwoUninitsUnloadsOpensslCryptoFirst) {
  QvSslInitHandle* first = installation_.init();
  QvSslInitHandle* second = installation_.init();
  journal_.clearLines();
  installation_.uninit(first);
  EXPECT_THAT(journal_.lines(), IsEmpty());
  installation_.uninit(second);
  EXPECT_THAT(journal_.lines(), ElementsAre("unload libeay32.dylib", "unload libssleay32.dylib"));
  const std::string why = "refCount_ became zero, so unloading SSL libraries";
  EXPECT_THAT(traces_.under("1"),
              ElementsAre(Returning(kLoaded, "ok", 1, 1), Returning(kLoaded, "ok", 2, 2),
                          Returning(kReleased, "ok", 1, 1), kReleased + why,
                          Returning(kReleased, "ok", 2, 0)));
}

TEST_F(Handles, MayBeGivenBackInAnyOrder) {
  std::vector<QvSslInitHandle*> handles;
  for (int i = 0; i < 5; ++i)
    handles.push_back(installation_.init());
  for (const std::size_t place : {3u, 0u, 4u, 1u})
    installation_.uninit(handles[place]);
  EXPECT_THAT(journal_.linesOf("unload"), IsEmpty());
  installation_.uninit(handles[2]);
  EXPECT_THAT(journal_.linesOf("unload"), SizeIs(2));
  EXPECT_THAT(traces_.under("ERROR"), IsEmpty());
}

TEST_F(Handles, AreNeverNumberedAgainAfterAReload) {
  installation_.uninit(installation_.init());
  journal_.clearLines();
  traces_.clear();
  ASSERT_NE(installation_.init(), nullptr);
  EXPECT_THAT(
      journal_.lines(),
      ElementsAre(
          "load libeay32.dylib", "load libssleay32.dylib", "SSL_library_init()",
          "SSL_load_error_strings()", "CRYPTO_num_locks()", "CRYPTO_set_locking_callback(callback)",
          "CRYPTO_set_id_callback(callback)", "CRYPTO_set_dynlock_create_callback(callback)",
          "CRYPTO_set_dynlock_lock_callback(callback)",
          "CRYPTO_set_dynlock_destroy_callback(callback)", "OPENSSL_add_all_algorithms_noconf()"));
  EXPECT_THAT(traces_.under("1"), ElementsAre(Returning(kLoaded, "ok", 2, 1)));
}

TEST_F(Handles, GivenBackTwiceThroughACopyAreRefusedTheSecondTime) {
  ASSERT_NE(installation_.init(), nullptr);  // keeps OpenSSL loaded
  QvSslInitHandle* original = installation_.init();
  void* copy = ::operator new(sizeof(qvsslinit::SslInitializer));
  std::memcpy(copy, static_cast<void*>(original), sizeof(qvsslinit::SslInitializer));
  installation_.uninit(original);
  traces_.clear();
  installation_.uninit(static_cast<QvSslInitHandle*>(copy));
  EXPECT_THAT(traces_.under("ERROR"),
              ElementsAre("ERROR | SslInitializerImplementation::ReleaseLibrary | Release called "
                          "with invalid handle '2'"));
  EXPECT_THAT(traces_.under("1"), ElementsAre(Returning(kReleased, "error", 2, 1)));
  EXPECT_THAT(journal_.linesOf("unload"), IsEmpty());
}

TEST_F(Handles, GivenBackAfterOpensslWentAreRefused) {
  QvSslInitHandle* original = installation_.init();
  void* copy = ::operator new(sizeof(qvsslinit::SslInitializer));
  std::memcpy(copy, static_cast<void*>(original), sizeof(qvsslinit::SslInitializer));
  installation_.uninit(original);
  traces_.clear();
  installation_.uninit(static_cast<QvSslInitHandle*>(copy));
  EXPECT_THAT(traces_.under("ERROR"),
              ElementsAre("ERROR | SslInitializerImplementation::ReleaseLibrary | SSL not "
                          "initialized"));
  EXPECT_THAT(traces_.under("1"), ElementsAre(Returning(kReleased, "error", 1, 0)));
}

TEST_F(Handles, AreNotIssuedWhereTheTraceLoggerCouldNotBeMade) {
  installation_.refuseTraceLogger(true);
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(journal_.lines(), IsEmpty());
  EXPECT_THAT(traces_.all(), IsEmpty());
}

TEST_F(Handles, AreIssuedByALaterInitThatStaysWithoutALoggerAndMakesNoCertificate) {
  installation_.refuseTraceLogger(true);
  EXPECT_EQ(installation_.init(), nullptr);
  installation_.refuseTraceLogger(false);
  QvSslInitHandle* handle = installation_.init();
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(reinterpret_cast<const qvsslinit::SslInitializer*>(handle)->handle(), 1);
  EXPECT_THAT(journal_.linesOf("SSL_library_init"), SizeIs(1));
  EXPECT_THAT(journal_.linesOf("RAND_seed"), IsEmpty());
  EXPECT_FALSE(installation_.directory().has("data/certstore"));
  EXPECT_THAT(traces_.all(), IsEmpty());  // another singleton would have made another logger
  installation_.uninit(handle);
  EXPECT_THAT(journal_.linesOf("unload"), SizeIs(2));
}

class AbsentOpenssl : public Handles {
 protected:
  void SetUp() override { installation_.removeOpenssl(); }
};

TEST_F(AbsentOpenssl, FailsInitWithoutATrace) {
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(journal_.lines(), IsEmpty());
  EXPECT_THAT(traces_.under("ERROR"), IsEmpty());
  EXPECT_THAT(traces_.under("1"), IsEmpty());  // the first call fails before it asks for a handle
}

TEST_F(AbsentOpenssl, IsLookedForAgainByEveryInit) {
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(traces_.under("1"), ElementsAre(Returning(kLoaded, "error", -1, 0)));
}

TEST_F(AbsentOpenssl, IsUsedOnceItIsThereButMakesNoCertificate) {
  EXPECT_EQ(installation_.init(), nullptr);
  installation_.install(kWithAccessors);
  QvSslInitHandle* handle = installation_.init();
  EXPECT_NE(handle, nullptr);
  EXPECT_THAT(traces_.under("1"), ElementsAre(Returning(kLoaded, "ok", 1, 1)));
  EXPECT_THAT(journal_.linesOf("RAND_seed"), IsEmpty());
  EXPECT_FALSE(installation_.directory().has("data/certstore"));
  installation_.uninit(handle);
  EXPECT_THAT(journal_.linesOf("unload"),
              ElementsAre("unload libeay32.dylib", "unload libssleay32.dylib"));
}

TEST_F(AbsentOpenssl, FailsInitWhereOneOfTheTwoFilesIsThere) {
  installation_.install(kWithAccessors);
  std::filesystem::remove(installation_.directory().path(Installation::kSslFile));
  EXPECT_EQ(installation_.init(), nullptr);
  installation_.install(kWithAccessors);
  std::filesystem::remove(installation_.directory().path(Installation::kCryptoFile));
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(journal_.lines(), ElementsAre("load libeay32.dylib", "unload libeay32.dylib",
                                            "load libssleay32.dylib"));
}

TEST_F(AbsentOpenssl, FailsInitWhereAFileIsNoLibrary) {
  installation_.install(kWithAccessors);
  installation_.directory().write(Installation::kCryptoFile, "not a library");
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(journal_.lines(), ElementsAre("load libssleay32.dylib"));
}

TEST_F(AbsentOpenssl, IsNotSoughtAnywhereElse) {
  installation_.install(kWithAccessors);
  const std::string elsewhere = installation_.directory().path("elsewhere");
  std::filesystem::create_directory(elsewhere);
  for (const char* name : {"libeay32.dylib", "libssleay32.dylib"}) {
    std::filesystem::rename(installation_.directory().path(std::string("lib/") + name),
                            elsewhere + "/" + name);
  }
  std::filesystem::current_path(elsewhere);
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(journal_.lines(), IsEmpty());
  // The loader reads its search path when a program starts, so another one is started: this test
  // once more, up to here, with the doubles of this run in the path.
  ::setenv("LD_LIBRARY_PATH", elsewhere.c_str(), 1);
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const bool sought = installation_.init() != nullptr || !journal_.lines().empty();
        std::filesystem::remove_all(installation_.directory().path());
        std::exit(sought ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(Handles, FailedInitsBetweenTwoStartsCountNothing) {
  installation_.uninit(installation_.init());
  installation_.removeOpenssl();
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(installation_.init(), nullptr);
  installation_.install(kWithAccessors);
  traces_.clear();
  ASSERT_NE(installation_.init(), nullptr);
  EXPECT_THAT(traces_.under("1"), ElementsAre(Returning(kLoaded, "ok", 2, 1)));
}

}  // namespace
}  // namespace qv::tests
