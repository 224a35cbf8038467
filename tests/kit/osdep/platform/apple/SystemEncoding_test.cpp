#include "kit/osdep/platform/SystemEncoding.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "kit/exception/InvalidLocale.h"
#include "kit/exception/OutOfRange.h"
#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/WideToAnsi.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep;
using qv::kit::exception::InvalidLocale;
using qv::kit::exception::OutOfRange;
using qv::tests::kAscii;
using qv::tests::kLatin1;
using qv::tests::kUtf8;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class AppleEncoding : public qv::tests::AppleTest {
 protected:
  /// Converts into room characters, behind which nothing may be written.
  static std::wstring toWide(const std::string& text, std::size_t room = 64) {
    std::wstring output(room + 1, L'#');
    wchar_t* end = output.data() + room;
    const std::uint32_t written =
        CarbonAnsiToWide(text.data(), text.data() + text.size(), output.data(), end);
    EXPECT_EQ(end, output.data() + written);
    EXPECT_EQ(output[room], L'#');
    return output.substr(0, written);
  }

  static std::string toNarrow(const std::wstring& text, std::size_t room = 64) {
    std::string output(room + 1, '#');
    char* end = output.data() + room;
    const std::uint32_t written =
        CarbonWideToAnsi(text.data(), text.data() + text.size(), output.data(), end);
    EXPECT_EQ(end, output.data() + written);
    EXPECT_EQ(output[room], '#');
    return output.substr(0, written);
  }

  static std::uint32_t required(const std::wstring& text) {
    return GetCarbonWideToAnsiRequiredBufferLength(text.data(), text.data() + text.size());
  }
};

TEST_F(AppleEncoding, OfTheSystemIsUsedInBothDirections) {
  EXPECT_EQ(toWide("a\xE9"), L"a\u00E9");
  EXPECT_EQ(toNarrow(L"a\u00E9"), "a\xE9");
  foundation_.setSystemEncoding(kUtf8);
  EXPECT_EQ(toWide("a\xC3\xA9\xF0\x9F\x98\x80"), L"a\u00E9\U0001F600");
  EXPECT_EQ(toNarrow(L"a\u00E9\U0001F600"), "a\xC3\xA9\xF0\x9F\x98\x80");
}

TEST_F(AppleEncoding, IsNotAskedForAnythingWhenThereIsNoInput) {
  EXPECT_EQ(toWide(""), L"");
  EXPECT_EQ(toNarrow(L""), "");
  EXPECT_THAT(foundation_.calls(), IsEmpty());
}

TEST_F(AppleEncoding, GoesFromBytesToUtf32WithAQuestionMarkForWhatIsLost) {
  toWide("abc", 5);
  EXPECT_THAT(foundation_.calls(), ElementsAre("CFStringCreateWithBytes 3 513", "CFStringGetLength",
                                               "CFStringGetBytes 469762304 63 20"));
}

TEST_F(AppleEncoding, GoesFromUtf32ToBytesWithAQuestionMarkForWhatIsLost) {
  toNarrow(L"abc", 5);
  EXPECT_THAT(foundation_.calls(), ElementsAre("CFStringCreateWithBytes 12 469762304",
                                               "CFStringGetLength", "CFStringGetBytes 513 63 5"));
}

TEST_F(AppleEncoding, WithoutACharacterHasOneQuestionMarkForIt) {
  EXPECT_EQ(toNarrow(L"a\u20ACb\U0001F600c"), "a?b?c");
}

TEST_F(AppleEncoding, ThatTheBytesAreNotInThrowsInvalidLocale) {
  foundation_.setSystemEncoding(kAscii);
  try {
    toWide("a\xE9");
    FAIL();
  } catch (const InvalidLocale& error) {
    EXPECT_STREQ(error.what(), "Invalid locale");
    EXPECT_EQ(error.getErrorCode(), -1967362012);
  }
}

TEST_F(AppleEncoding, OfCharactersThatAreNoneThrowsInvalidLocale) {
  EXPECT_THROW(toNarrow(std::wstring(1, static_cast<wchar_t>(0x110000))), InvalidLocale);
}

TEST_F(AppleEncoding, FillsTheRoomThereIsAndNoMore) {
  EXPECT_EQ(toWide("abc", 3), L"abc");
  EXPECT_EQ(toWide("abc", 2), L"ab");
  EXPECT_EQ(toWide("abc", 0), L"");
  EXPECT_EQ(toNarrow(L"abc", 2), "ab");
  EXPECT_EQ(toNarrow(L"abc", 0), "");
}

TEST_F(AppleEncoding, WritesNothingWithoutRoomNotEvenForANullOutput) {
  const std::string narrow = "abc";
  wchar_t* wideEnd = nullptr;
  EXPECT_EQ(CarbonAnsiToWide(narrow.data(), narrow.data() + narrow.size(), nullptr, wideEnd), 0U);
  EXPECT_EQ(wideEnd, nullptr);
  const std::wstring wide = L"abc";
  char* narrowEnd = nullptr;
  EXPECT_EQ(CarbonWideToAnsi(wide.data(), wide.data() + wide.size(), nullptr, narrowEnd), 0U);
  EXPECT_EQ(narrowEnd, nullptr);
  EXPECT_THAT(foundation_.calls(), testing::Not(Contains(testing::HasSubstr("CFStringGetBytes"))));
}

TEST_F(AppleEncoding, ThatTheTextIsNotInThrowsInvalidLocaleWithoutRoomToo) {
  foundation_.setSystemEncoding(kAscii);
  EXPECT_THROW(toWide("\xE9", 0), InvalidLocale);
  EXPECT_THROW(toNarrow(std::wstring(1, static_cast<wchar_t>(0x110000)), 0), InvalidLocale);
}

TEST_F(AppleEncoding, LeavesOutACharacterThatDoesNotFitWhole) {
  foundation_.setSystemEncoding(kUtf8);
  EXPECT_EQ(toNarrow(L"a\u20AC", 3), "a");
}

TEST_F(AppleEncoding, CountsNoPartOfAWideCharacter) {
  for (const CFIndex more : {1, 2, 3}) {
    foundation_.claimMoreBytes(more);
    EXPECT_EQ(toWide("abc", 5), L"abc");
  }
}

TEST_F(AppleEncoding, TellsTheRoomThatNarrowTextNeeds) {
  EXPECT_EQ(required(L"abcd"), 4U);
  EXPECT_THAT(foundation_.calls(), ElementsAre("CFStringGetMaximumSizeForEncoding 4 513"));
  foundation_.setSystemEncoding(kUtf8);
  EXPECT_EQ(required(L"abcd"), 12U);
  EXPECT_EQ(required(L""), 0U);
}

TEST_F(AppleEncoding, ThatCannotTellTheRoomThrowsOutOfRange) {
  foundation_.fail("CFStringGetMaximumSizeForEncoding");
  EXPECT_THROW(required(L"abcd"), OutOfRange);
}

TEST_F(AppleEncoding, IsWhatTheLocaleCarbonStandsFor) {
  const std::string narrow("\xE9");
  const std::unique_ptr<wchar_t[]> wide(
      AnsiToWide(narrow.data(), narrow.data() + narrow.size(), "carbon"));
  EXPECT_STREQ(wide.get(), L"\u00E9");
  const std::unique_ptr<char[]> back(WideToAnsi(wide.get(), "carbon"));
  EXPECT_STREQ(back.get(), "\xE9");
  EXPECT_THAT(foundation_.calls(), Contains("CFStringGetMaximumSizeForEncoding 1 513"));
}

TEST_F(AppleEncoding, HasRoomForCharactersOutsideTheBasicPlane) {
  foundation_.setSystemEncoding(kUtf8);
  const std::unique_ptr<char[]> narrow(WideToAnsi(L"\U0001F600\U0010FFFFa\U00010000", "carbon"));
  EXPECT_STREQ(narrow.get(), "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF\x61\xF0\x90\x80\x80");
  EXPECT_EQ(required(L"\uFFFF"), 3U);
  EXPECT_EQ(required(L"\U00010000"), 6U);
}

TEST_F(AppleEncoding, IsNotAskedForTheLocaleInCapitalLetters) {
  const std::string narrow("a");
  EXPECT_THROW(AnsiToWide(narrow.data(), narrow.data() + 1, "Carbon"), InvalidLocale);
  EXPECT_THAT(foundation_.calls(), IsEmpty());
}

}  // namespace
