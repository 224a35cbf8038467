#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/adapters/openssl/ResolvedOpenssl.h"
#include "tests/adapters/openssl/Situations.h"

// How the service opens the two files. The program is linked so that its own calls of dlopen come
// through here.

namespace {

using Opening = std::pair<std::string, int>;

std::vector<Opening> g_openings;
bool g_ownScopesFail = false;

}  // namespace

extern "C" {
void* __real_dlopen(const char* path, int flags);

void* __wrap_dlopen(const char* path, int flags) {
  if (path != nullptr) g_openings.emplace_back(path, flags);
  if (g_ownScopesFail && (flags & RTLD_DEEPBIND) != 0) return nullptr;
  return __real_dlopen(path, flags);
}
}

namespace qv::tests {
namespace {

using testing::ElementsAre;

/// The names and flags with which the service opens files in such a process.
std::vector<Opening> OpeningsIn(Situation situation) {
  const Host host(situation);
  g_openings.clear();
  const ResolvedOpenssl openssl;
  for (Opening& opening : g_openings)
    opening.first.erase(0, opening.first.rfind('/') + 1);
  return g_openings;
}

constexpr int kForEverybody = RTLD_NOW | RTLD_GLOBAL;

class OpeningOpenssl : public testing::TestWithParam<Situation> {};

TEST_P(OpeningOpenssl, IsForEverybodyAndNothingMoreWhereNoOtherIsInSight) {
  EXPECT_THAT(OpeningsIn(GetParam()), ElementsAre(Opening("libeay32.dylib", kForEverybody),
                                                  Opening("libssleay32.dylib", kForEverybody)));
}

INSTANTIATE_TEST_SUITE_P(In, OpeningOpenssl,
                         testing::Values(Situation::Nothing, Situation::TheSameUnseen),
                         [](const auto& info) { return std::string(NameOf(info.param)); });

constexpr int kInItsOwnScope = RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND;

const auto kOwnScopeFirst = ElementsAre(
    Opening("libeay32.dylib", kInItsOwnScope), Opening("libeay32.dylib", kForEverybody),
    Opening("libssleay32.dylib", kInItsOwnScope), Opening("libssleay32.dylib", kForEverybody));

TEST(OpeningAnotherOpenssl, IsInAScopeOfItsOwnFirstWhereAnotherIsInSight) {
  EXPECT_THAT(OpeningsIn(Situation::AStranger), kOwnScopeFirst);
}

TEST(OpeningAnotherOpenssl, IsInAScopeOfItsOwnWhereASingleFunctionOfTheTableIsInSight) {
  ASSERT_NE(::dlopen(QV_ONE_START, RTLD_NOW | RTLD_GLOBAL), nullptr) << ::dlerror();
  EXPECT_THAT(OpeningsIn(Situation::Nothing), kOwnScopeFirst);
}

TEST(OpeningAnotherOpenssl, IsInAScopeOfItsOwnWhereADigestIsInSight) {
  ASSERT_NE(::dlopen(QV_ONE_DIGEST, RTLD_NOW | RTLD_GLOBAL), nullptr) << ::dlerror();
  EXPECT_THAT(OpeningsIn(Situation::Nothing), kOwnScopeFirst);
}

TEST(OpeningAnotherOpenssl, IsGivenUpWhereItsOwnScopeFails) {
  const Host host(Situation::AStranger);
  g_ownScopesFail = true;
  g_openings.clear();
  EXPECT_THROW(ResolvedOpenssl{}, std::runtime_error);
  for (const Opening& opening : g_openings)
    EXPECT_EQ(opening.second, kInItsOwnScope) << opening.first;
}

}  // namespace
}  // namespace qv::tests
