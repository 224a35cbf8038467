#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/doubles/SslInitializerImplementationProbe.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/TraceRecords.h"
#include "tests/doubles/openssl/HideSymbol.h"
#include "tests/doubles/openssl/Journal.h"

// What the table of functions holds after a load that met a missing one.

namespace qvsslinit {

namespace {

using qv::tests::Journal;
using testing::ElementsAre;
using Probe = SslInitializerImplementationProbe;
using Addresses = std::array<void*, static_cast<std::size_t>(kOpensslFunctionCount)>;

constexpr auto kMissingRow = static_cast<std::size_t>(OpensslRow::CRYPTO_set_id_callback);

/// The two doubles in a directory of their own, and in memory as long as this lives: two of these
/// never share an address.
class Doubles {
 public:
  Doubles() {
    std::filesystem::copy_file(QV_OPENSSL_DOUBLES "/accessors/libeay32.dylib", crypto());
    std::filesystem::copy_file(QV_OPENSSL_DOUBLES "/ssl/libssleay32.dylib", ssl());
  }
  Doubles(const Doubles&) = delete;
  Doubles& operator=(const Doubles&) = delete;
  ~Doubles() {
    ::dlclose(crypto_);
    ::dlclose(ssl_);
  }

  std::string crypto() const { return directory_.path("libeay32.dylib"); }
  std::string ssl() const { return directory_.path("libssleay32.dylib"); }

  void load() {
    crypto_ = ::dlopen(crypto().c_str(), RTLD_NOW);
    ssl_ = ::dlopen(ssl().c_str(), RTLD_NOW);
    ASSERT_NE(crypto_, nullptr);
    ASSERT_NE(ssl_, nullptr);
  }

  Addresses addresses() const {
    Addresses found{};
    std::size_t row = 0;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  found[row++] = ::dlsym(library##_, #name);
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
    return found;
  }

 private:
  qv::tests::TemporaryDirectory directory_;
  void* crypto_ = nullptr;
  void* ssl_ = nullptr;
};

class FunctionTable : public testing::Test {
 protected:
  FunctionTable() {
    status_.clear();
    singleton_ = std::make_unique<SslInitializerImplementation>(status_);
    g_pInitializerSingleton = singleton_.get();
    qv::tests::HideSymbol(lacking_.crypto(), "CRYPTO_set_id_callback");
    lacking_.load();
    whole_.load();
  }

  void start(const Doubles& doubles) {
    status_.clear();
    journal_.clearLines();
    Probe::setLibraries(*singleton_, doubles.crypto(), doubles.ssl());
    Probe::initializeOpenSSL(*singleton_, status_);
  }

  Addresses held() const {
    Addresses addresses{};
    std::memcpy(addresses.data(), &Probe::functions(*singleton_), sizeof addresses);
    return addresses;
  }

  /// The table that holds these before the missing row, null there, and the others behind it.
  static Addresses joined(const Addresses& before, const Addresses& behind) {
    Addresses expected = behind;
    std::copy_n(before.begin(), kMissingRow, expected.begin());
    expected[kMissingRow] = nullptr;
    return expected;
  }

  Journal& journal_ = Journal::instance();
  qv::tests::TraceRecords records_;
  Doubles whole_;
  Doubles lacking_;
  qv::kit::StatusChain status_;
  std::unique_ptr<SslInitializerImplementation> singleton_;
};

TEST_F(FunctionTable, HoldsAllRowsOfALibraryThatHasThemAll) {
  start(whole_);
  EXPECT_EQ(status_.code(), 0);
  EXPECT_EQ(held(), whole_.addresses());
}

TEST_F(FunctionTable, HoldsTheRowsBeforeAMissingOneAndNothingFromThereOn) {
  start(lacking_);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_EQ(held(), joined(lacking_.addresses(), Addresses{}));
}

TEST_F(FunctionTable, KeepsBehindAMissingRowWhatAnEarlierLoadFound) {
  start(whole_);
  start(lacking_);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_EQ(held(), joined(lacking_.addresses(), whole_.addresses()));
}

TEST_F(FunctionTable, NeverCallsWhatAnEarlierLoadFound) {
  start(whole_);
  start(lacking_);
  EXPECT_THAT(journal_.linesOf("CRYPTO"), ElementsAre("CRYPTO_set_locking_callback(callback)"));
  EXPECT_THAT(journal_.linesOf("OPENSSL"), ElementsAre("OPENSSL_add_all_algorithms_noconf()"));
}

TEST_F(FunctionTable, HoldsAllRowsAgainOnceNoneIsMissing) {
  start(lacking_);
  start(whole_);
  EXPECT_EQ(status_.code(), 0);
  EXPECT_EQ(held(), whole_.addresses());
}

}  // namespace
}  // namespace qvsslinit
