#include "kit/osdep/GetHostName.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <string>

#include "tests/doubles/Text.h"

namespace {

using qv::kit::WString;
using qv::kit::osdep::ForceFQDN;
using qv::kit::osdep::GetConfiguredHostName;
using qv::kit::osdep::GetHostName;
using qv::tests::Exactly;

TEST(GetHostName, GivesTheNameThatTheSystemGoesBy) {
  utsname system{};
  ASSERT_EQ(::uname(&system), 0);
  EXPECT_EQ(Exactly(GetHostName(false)), Exactly(WString(system.nodename)));
}

TEST(GetHostName, AddsNoDomainOnRequestEither) {
  EXPECT_EQ(Exactly(GetHostName(true)), Exactly(GetHostName(false)));
}

TEST(GetConfiguredHostName, GivesNoneAndLeavesTheNameAlone) {
  WString name(L"before");
  EXPECT_FALSE(GetConfiguredHostName(name));
  EXPECT_EQ(Exactly(name), L"before");
}

TEST(ForceFQDN, GivesTheNameUnchanged) {
  EXPECT_EQ(Exactly(ForceFQDN(L"Host")), L"Host");
  EXPECT_EQ(Exactly(ForceFQDN(L"host.example.org")), L"host.example.org");
  EXPECT_EQ(Exactly(ForceFQDN(L"")), L"");
}

}  // namespace
