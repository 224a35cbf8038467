// Which names go to the system encoding, and what is made of its answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kit/exception/InvalidLocale.h"
#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/WideToAnsi.h"
#include "tests/doubles/SystemEncoding.h"
#include "tests/kit/osdep/Converted.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::tests::Narrow;
using qv::tests::SystemEncoding;
using qv::tests::Wide;
using testing::ElementsAre;
using testing::IsEmpty;

// The script is of the whole program.
class LocaleDispatch : public testing::Test {
 protected:
  void SetUp() override { SystemEncoding() = {}; }
};

TEST_F(LocaleDispatch, CarbonAsksTheSystemEncodingForWideText) {
  SystemEncoding().wide = L"\u65E5";
  EXPECT_EQ(Wide("abc", "carbon"), L"\u65E5");
  EXPECT_THAT(SystemEncoding().calls, ElementsAre("CarbonAnsiToWide abc"));
}

TEST_F(LocaleDispatch, CarbonAsksTheSystemEncodingForTheRoomAndTheNarrowText) {
  SystemEncoding().required = 5;
  SystemEncoding().narrow = "12345";
  EXPECT_EQ(Narrow(L"ab", "carbon"), "12345");
  EXPECT_THAT(SystemEncoding().calls, ElementsAre("required 2", "CarbonWideToAnsi 2"));
}

TEST_F(LocaleDispatch, NarrowTextGetsNoMoreRoomThanTheSystemEncodingAskedFor) {
  SystemEncoding().required = 3;
  SystemEncoding().narrow = "12345";
  EXPECT_EQ(Narrow(L"ab", "carbon"), "123");
}

TEST_F(LocaleDispatch, TheNumberOfCharactersWrittenIsTheSystemEncodings) {
  const char narrow[] = "abc";
  const wchar_t wide[] = L"abc";
  wchar_t wideOut[8];
  wchar_t* wideEnd = wideOut + 8;
  SystemEncoding().wide = L"xy";
  EXPECT_EQ(AnsiToWideNoAlloc(narrow, narrow + 3, "carbon", wideOut, wideEnd), 2U);
  EXPECT_EQ(wideEnd, wideOut + 2);
  char narrowOut[8];
  char* narrowEnd = narrowOut + 8;
  SystemEncoding().narrow = "xyz1";
  EXPECT_EQ(WideToAnsiNoAlloc(wide, wide + 3, "carbon", narrowOut, narrowEnd), 4U);
  EXPECT_EQ(narrowEnd, narrowOut + 4);
}

TEST_F(LocaleDispatch, AnInputThatTheSystemEncodingRefusesThrowsInvalidLocale) {
  SystemEncoding().throwsInvalidLocale = true;
  SystemEncoding().required = 5;
  EXPECT_THROW(Wide("abc", "carbon"), exception::InvalidLocale);
  EXPECT_THROW(Narrow(L"abc", "carbon"), exception::InvalidLocale);
}

TEST_F(LocaleDispatch, AnEmptyInputAsksNobody) {
  EXPECT_EQ(Wide("", "carbon"), L"");
  EXPECT_EQ(Narrow(L"", "carbon"), "");
  EXPECT_THAT(SystemEncoding().calls, IsEmpty());
}

TEST_F(LocaleDispatch, EveryOtherNameGoesToIconv) {
  EXPECT_EQ(Wide("a", "UTF-8"), L"a");
  EXPECT_EQ(Narrow(L"a", ""), "a");
  EXPECT_THROW(Wide("a", "Carbon"), exception::InvalidLocale);
  EXPECT_THROW(Narrow(L"a", "Carbon"), exception::InvalidLocale);
  EXPECT_THAT(SystemEncoding().calls, IsEmpty());
}

}  // namespace
