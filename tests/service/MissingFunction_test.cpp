#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "source/OpensslFunctionPointers.h"
#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

using qvsslinit::OpensslRow;
using Lines = std::vector<std::string>;

struct Row {
  OpensslRow row;
  std::string library;
  std::string name;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

const Row kRows[] = {
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) {OpensslRow::name, #library, #name},
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
};

/// The start-up calls in their order; those behind a missing row are left out.
Lines StartWithout(OpensslRow missing) {
  const struct {
    OpensslRow row;
    const char* line;
  } calls[] = {
      {OpensslRow::SSL_library_init, "SSL_library_init()"},
      {OpensslRow::SSL_load_error_strings, "SSL_load_error_strings()"},
      {OpensslRow::CRYPTO_num_locks, "CRYPTO_num_locks()"},
      {OpensslRow::CRYPTO_set_locking_callback, "CRYPTO_set_locking_callback(callback)"},
      {OpensslRow::CRYPTO_set_id_callback, "CRYPTO_set_id_callback(callback)"},
      {OpensslRow::CRYPTO_set_dynlock_create_callback,
       "CRYPTO_set_dynlock_create_callback(callback)"},
      {OpensslRow::CRYPTO_set_dynlock_lock_callback, "CRYPTO_set_dynlock_lock_callback(callback)"},
      {OpensslRow::CRYPTO_set_dynlock_destroy_callback,
       "CRYPTO_set_dynlock_destroy_callback(callback)"},
      {OpensslRow::OPENSSL_add_all_algorithms_noconf, "OPENSSL_add_all_algorithms_noconf()"},
  };
  Lines lines;
  for (const auto& call : calls) {
    if (call.row < missing) lines.emplace_back(call.line);
  }
  return lines;
}

class MissingFunction : public testing::TestWithParam<Row> {
 protected:
  void SetUp() override {
    installation_.hide(
        GetParam().library == "ssl" ? Installation::kSslFile : Installation::kCryptoFile,
        GetParam().name);
  }

  Installation installation_;
  Journal& journal_ = Journal::instance();
};

TEST_P(MissingFunction, FailsInitAndIsTraced) {
  const TraceRecords traces(installation_.traceSink());
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(traces.under("ERROR"),
              testing::ElementsAre("ERROR | SslInitializerImplementation::loadFunctionPointers | "
                                   "Failed to load a function pointer.  One of the DLLs may be "
                                   "missing."));
  EXPECT_FALSE(installation_.directory().has("data/certstore"));
}

TEST_P(MissingFunction, StillStartsOpensslWithTheFunctionsBeforeIt) {
  EXPECT_EQ(installation_.init(), nullptr);
  Lines lines = journal_.lines();
  ASSERT_GE(lines.size(), 2u);
  lines.erase(lines.begin(), lines.begin() + 2);
  EXPECT_THAT(lines, testing::ElementsAreArray(StartWithout(GetParam().row)));
}

TEST_P(MissingFunction, IsForgottenOnceTheFileIsRepaired) {
  EXPECT_EQ(installation_.init(), nullptr);
  journal_.clearLines();
  installation_.install(kWithAccessors);
  QvSslInitHandle* handle = installation_.init();
  EXPECT_NE(handle, nullptr);
  const Lines lines = journal_.lines();
  ASSERT_GE(lines.size(), 4u);
  EXPECT_THAT(Lines(lines.begin(), lines.begin() + 4),
              testing::ElementsAre("unload libeay32.dylib", "unload libssleay32.dylib",
                                   "load libeay32.dylib", "load libssleay32.dylib"));
  EXPECT_THAT(journal_.linesOf("RAND_seed"), testing::IsEmpty());
  installation_.uninit(handle);
}

TEST_P(MissingFunction, IsNoticedWhenItGoesMissingBetweenTwoStarts) {
  // Repaired first, so that the table holds addresses of a library that has gone since.
  installation_.install(kWithAccessors);
  installation_.uninit(installation_.init());
  installation_.hide(
      GetParam().library == "ssl" ? Installation::kSslFile : Installation::kCryptoFile,
      GetParam().name);
  journal_.clearLines();
  EXPECT_EQ(installation_.init(), nullptr);
  Lines lines = journal_.lines();
  ASSERT_GE(lines.size(), 2u);
  lines.erase(lines.begin(), lines.begin() + 2);
  EXPECT_THAT(lines, testing::ElementsAreArray(StartWithout(GetParam().row)));
}

INSTANTIATE_TEST_SUITE_P(OfTheList, MissingFunction, testing::ValuesIn(kRows),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace qv::tests
