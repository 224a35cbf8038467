#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "adapters/openssl/callbacks.h"
#include "source/OpensslFunctionPointers.h"

namespace {

using qvsslinit::OpensslFunctionPointers;

/// Opens the adapters as the service does: at once, and for everybody.
class Adapters {
 public:
  Adapters() : crypto_(open("libeay32.dylib")), ssl_(open("libssleay32.dylib")) {}

  void* find(const std::string& library, const char* name) const {
    return dlsym(library == "ssl" ? ssl_.get() : crypto_.get(), name);
  }

  template <typename Function>
  Function* crypto(const char* name) const {
    auto* found = reinterpret_cast<Function*>(find("crypto", name));
    if (found == nullptr) throw std::runtime_error(std::string("no function ") + name);
    return found;
  }

 private:
  using Handle = std::unique_ptr<void, int (*)(void*)>;

  static Handle open(const char* name) {
    const std::string path = std::string(QV_LIBRARY_DIRECTORY "/") + name;
    Handle handle(dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL), dlclose);
    if (handle == nullptr) throw std::runtime_error(dlerror());
    return handle;
  }

  Handle crypto_;
  Handle ssl_;
};

std::string FileOf(const void* address) {
  Dl_info info;
  if (dladdr(address, &info) == 0) throw std::runtime_error("an address of no library");
  return info.dli_fname;
}

struct Row {
  const char* library;
  const char* name;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class EveryFunction : public testing::TestWithParam<Row> {
 protected:
  Adapters adapters_;
};

TEST_P(EveryFunction, IsFoundThroughTheAdapters) {
  EXPECT_NE(adapters_.find(GetParam().library, GetParam().name), nullptr);
}

TEST_P(EveryFunction, ComesFromTheAdapterOnlyWhereOpensslLacksIt) {
  const std::string real = FileOf(adapters_.find("crypto", "OPENSSL_init_crypto"));
  const std::string realSsl = FileOf(adapters_.find("ssl", "OPENSSL_init_ssl"));
  const std::string& wanted = std::string("ssl") == GetParam().library ? realSsl : real;
  ASSERT_THAT(wanted, testing::Not(testing::HasSubstr(".dylib")));
  const std::unique_ptr<void, int (*)(void*)> openssl(dlopen(wanted.c_str(), RTLD_NOW), dlclose);
  ASSERT_NE(openssl, nullptr) << dlerror();

  void* const own = dlsym(openssl.get(), GetParam().name);
  void* const found = adapters_.find(GetParam().library, GetParam().name);
  if (own != nullptr) {
    EXPECT_EQ(found, own);
  } else {
    EXPECT_THAT(FileOf(found), testing::EndsWith(".dylib"));
  }
}

constexpr Row kRows[] = {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) {#library, #name},
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
};

INSTANTIATE_TEST_SUITE_P(OfTheList, EveryFunction, testing::ValuesIn(kRows),
                         [](const auto& info) { return info.param.name; });

#define QV_FIND(adapters, name) \
  (adapters).crypto<std::remove_pointer_t<decltype(OpensslFunctionPointers::name)>>(#name)

TEST(Adapters, AskForOneLock) {
  const Adapters adapters;
  EXPECT_EQ(QV_FIND(adapters, CRYPTO_num_locks)(), 1);
}

TEST(Adapters, StartSslAsOftenAsAsked) {
  const Adapters adapters;
  const auto start = reinterpret_cast<int (*)()>(adapters.find("ssl", "SSL_library_init"));
  EXPECT_EQ(start(), 1);
  EXPECT_EQ(start(), 1);
}

TEST(Adapters, GiveErrorsTheirTexts) {
  const Adapters adapters;
  reinterpret_cast<void (*)()>(adapters.find("ssl", "SSL_load_error_strings"))();
  char name[] = "keyUsage";
  char value[] = "noSuchUse";
  ASSERT_EQ(QV_FIND(adapters, X509V3_EXT_conf)(nullptr, nullptr, name, value), nullptr);
  const unsigned long error = QV_FIND(adapters, ERR_get_error)();
  EXPECT_STREQ(QV_FIND(adapters, ERR_reason_error_string)(error), "unknown bit string argument");
}

int g_calls = 0;

void CountLock(int /*mode*/, int /*n*/, const char* /*file*/, int /*line*/) {
  ++g_calls;
}

unsigned long CountId() {
  ++g_calls;
  return 1;
}

CRYPTO_dynlock_value* CountCreate(const char* /*file*/, int /*line*/) {
  ++g_calls;
  return nullptr;
}

void CountDynlock(int /*mode*/, CRYPTO_dynlock_value* /*lock*/, const char* /*file*/,
                  int /*line*/) {
  ++g_calls;
}

void CountDestroy(CRYPTO_dynlock_value* /*lock*/, const char* /*file*/, int /*line*/) {
  ++g_calls;
}

void SetEveryCallback(const Adapters& adapters) {
  QV_FIND(adapters, CRYPTO_set_locking_callback)(CountLock);
  QV_FIND(adapters, CRYPTO_set_id_callback)(CountId);
  QV_FIND(adapters, CRYPTO_set_dynlock_create_callback)(CountCreate);
  QV_FIND(adapters, CRYPTO_set_dynlock_lock_callback)(CountDynlock);
  QV_FIND(adapters, CRYPTO_set_dynlock_destroy_callback)(CountDestroy);
}

TEST(Adapters, KeepTheCallbacksThatTheyAreGiven) {
  const Adapters adapters;
  SetEveryCallback(adapters);
  EXPECT_EQ(adapters.crypto<LockingCallback()>("CRYPTO_get_locking_callback")(), CountLock);
  EXPECT_EQ(adapters.crypto<IdCallback()>("CRYPTO_get_id_callback")(), CountId);
  EXPECT_EQ(adapters.crypto<DynlockCreateCallback()>("CRYPTO_get_dynlock_create_callback")(),
            CountCreate);
  EXPECT_EQ(adapters.crypto<DynlockLockCallback()>("CRYPTO_get_dynlock_lock_callback")(),
            CountDynlock);
  EXPECT_EQ(adapters.crypto<DynlockDestroyCallback()>("CRYPTO_get_dynlock_destroy_callback")(),
            CountDestroy);
}

TEST(Adapters, NeverCallTheCallbacks) {
  const Adapters adapters;
  SetEveryCallback(adapters);
  auto* rsa = QV_FIND(adapters, RSA_generate_key)(1024, 65537, nullptr, nullptr);
  ASSERT_NE(rsa, nullptr);
  QV_FIND(adapters, RSA_free)(rsa);
  EXPECT_EQ(g_calls, 0);
}

}  // namespace

// The adapter's own key generator, built under a name of its own: the OpenSSL at hand may have one.
extern "C" rsa_st* QvTestRsaGenerateKey(int bits, unsigned long exponent,
                                        void (*callback)(int phase, int step, void* argument),
                                        void* argument);

namespace {

TEST(AdaptersKeyGenerator, MakesAKeyThatChecksAndReportsItsProgress) {
  const Adapters adapters;
  int steps = 0;
  const auto progress = [](int /*phase*/, int /*step*/, void* argument) {
    ++*static_cast<int*>(argument);
  };
  rsa_st* rsa = QvTestRsaGenerateKey(1024, 65537, progress, &steps);
  ASSERT_NE(rsa, nullptr);
  EXPECT_EQ(QV_FIND(adapters, RSA_check_key)(rsa), 1);
  EXPECT_GT(steps, 0);
  QV_FIND(adapters, RSA_free)(rsa);
}

TEST(AdaptersKeyGenerator, WorksWithoutAProgressCallback) {
  const Adapters adapters;
  rsa_st* rsa = QvTestRsaGenerateKey(1024, 3, nullptr, nullptr);
  ASSERT_NE(rsa, nullptr);
  EXPECT_EQ(QV_FIND(adapters, RSA_check_key)(rsa), 1);
  QV_FIND(adapters, RSA_free)(rsa);
}

TEST(AdaptersKeyGenerator, GivesNullForAKeyThatCannotBe) {
  EXPECT_EQ(QvTestRsaGenerateKey(1024, 2, nullptr, nullptr), nullptr);
}

}  // namespace
