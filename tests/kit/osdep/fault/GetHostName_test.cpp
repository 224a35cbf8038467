#include "kit/osdep/GetHostName.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/Text.h"

namespace {

using qv::kit::osdep::GetHostName;
using qv::tests::Exactly;
using qv::tests::StagedSystemCalls;
using qv::tests::SystemCall;

TEST(GetHostNameFault, IsLocalhostWhenTheSystemDoesNotTell) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Gethostname, EFAULT, 2);
  EXPECT_EQ(Exactly(GetHostName(false)), L"localhost");
  EXPECT_EQ(Exactly(GetHostName(true)), L"localhost");
}

TEST(GetHostNameFault, EndsAtTheTerminator) {
  StagedSystemCalls staged;
  staged.giveHostName(std::string("host.example\0rest", 17));
  EXPECT_EQ(Exactly(GetHostName(true)), L"host.example");
}

TEST(GetHostNameFault, MayHaveOneCharacterOrAsManyAsFitBeforeTheTerminator) {
  for (const std::size_t length : {1U, 64U, 255U}) {
    StagedSystemCalls staged;
    staged.giveHostName(std::string(length, 'h') + '\0');
    EXPECT_EQ(Exactly(GetHostName(false)), std::wstring(length, L'h'));
  }
}

TEST(GetHostNameFault, MayBeEmpty) {
  StagedSystemCalls staged;
  staged.giveHostName(std::string(1, '\0'));
  EXPECT_EQ(Exactly(GetHostName(false)), L"");
}

TEST(GetHostNameFault, EndsAtTheEndOfTheBufferWhenTheSystemLeavesOutTheTerminator) {
  StagedSystemCalls staged;
  staged.giveHostName(std::string(300, 'h'));
  EXPECT_EQ(Exactly(GetHostName(false)), std::wstring(256, L'h'));
}

}  // namespace
