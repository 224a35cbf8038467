#include "kit/osdep/platform/SystemEncoding.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "kit/exception/InvalidLocale.h"
#include "kit/exception/OutOfRange.h"
#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/WideToAnsi.h"
#include "tests/ReservedRange.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using namespace qv::kit::osdep;
using qv::kit::exception::InvalidLocale;
using qv::kit::exception::OutOfRange;
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
  foundation_.setSystemEncoding(kUtf8);
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
  foundation_.setSystemEncoding(kUtf8);
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

TEST_F(AppleEncoding, MayNeedAllTheRoomThat32BitsCount) {
  for (const std::int64_t size :
       std::initializer_list<std::int64_t>{0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}) {
    if (size > std::numeric_limits<CFIndex>::max()) GTEST_SKIP() << "needs sizes of 64 bits";
    foundation_.claimMaximumSize(static_cast<CFIndex>(size));
    EXPECT_EQ(required(L"abcd"), size);
  }
}

TEST_F(AppleEncoding, ThatNeedsMoreRoomThrowsOutOfRange) {
  for (const std::int64_t size :
       std::initializer_list<std::int64_t>{0x100000000, 0x100000004, 0x7FFFFFFFFFFFFFFF}) {
    if (size > std::numeric_limits<CFIndex>::max()) GTEST_SKIP() << "needs sizes of 64 bits";
    foundation_.claimMaximumSize(static_cast<CFIndex>(size));
    EXPECT_THROW(required(L"abcd"), OutOfRange) << size;
    EXPECT_THROW(WideToAnsi(L"abcd", "carbon"), OutOfRange) << size;
  }
}

TEST_F(AppleEncoding, OfMoreCharactersThan32BitsCountThrowsOutOfRange) {
  if (!ReservedRange<wchar_t>::fits(0x100000000)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<wchar_t> text(0x100000000);
  EXPECT_THROW(GetCarbonWideToAnsiRequiredBufferLength(text.begin(), text.end()), OutOfRange);
}

TEST_F(AppleEncoding, GetsInputBeyond32BitsWhole) {
  if (!ReservedRange<char>::fits(0x100000001)) GTEST_SKIP() << "needs addresses of 64 bits";
  foundation_.fail("CFStringCreateWithBytes");
  const ReservedRange<char> narrow(0x100000001);
  wchar_t* wideEnd = nullptr;
  EXPECT_THROW(CarbonAnsiToWide(narrow.begin(), narrow.end(), nullptr, wideEnd), InvalidLocale);
  const ReservedRange<wchar_t> wide(0x40000001);
  char* narrowEnd = nullptr;
  EXPECT_THROW(CarbonWideToAnsi(wide.begin(), wide.end(), nullptr, narrowEnd), InvalidLocale);
  EXPECT_THAT(foundation_.calls(), ElementsAre("CFStringCreateWithBytes 4294967297 513",
                                               "CFStringCreateWithBytes 4294967300 469762304"));
}

TEST_F(AppleEncoding, GetsRoomBeyond32BitsWhole) {
  if (!ReservedRange<char>::fits(0x100000001)) GTEST_SKIP() << "needs addresses of 64 bits";
  foundation_.fail("CFStringGetBytes");
  const ReservedRange<wchar_t> wide(0x40000001);
  auto* wideEnd = const_cast<wchar_t*>(wide.end());
  const std::string narrowText = "abc";
  CarbonAnsiToWide(narrowText.data(), narrowText.data() + 3, const_cast<wchar_t*>(wide.begin()),
                   wideEnd);
  EXPECT_EQ(wideEnd, wide.begin());
  const ReservedRange<char> narrow(0x100000001);
  auto* narrowEnd = const_cast<char*>(narrow.end());
  const std::wstring wideText = L"abc";
  CarbonWideToAnsi(wideText.data(), wideText.data() + 3, const_cast<char*>(narrow.begin()),
                   narrowEnd);
  EXPECT_EQ(narrowEnd, narrow.begin());
  EXPECT_THAT(foundation_.calls(), Contains("CFStringGetBytes 469762304 63 4294967300"));
  EXPECT_THAT(foundation_.calls(), Contains("CFStringGetBytes 513 63 4294967297"));
}

TEST_F(AppleEncoding, CutsOffSilentlyWhatASizeClaimedTooSmallHasNoRoomFor) {
  foundation_.claimMaximumSize(2);
  const std::unique_ptr<char[]> cut(WideToAnsi(L"abc", "carbon"));
  EXPECT_STREQ(cut.get(), "ab");
  foundation_.claimMaximumSize(0);
  const std::unique_ptr<char[]> nothing(WideToAnsi(L"abc", "carbon"));
  EXPECT_STREQ(nothing.get(), "");
}

TEST_F(AppleEncoding, ThrowsOrGivesNothingWhereACallFails) {
  std::vector<std::string> results;
  const auto noting = [&](auto convert) {
    return [&, convert] {
      try {
        results.push_back(convert() ? "text" : "nothing");
      } catch (const InvalidLocale&) {
        results.emplace_back("InvalidLocale");
      } catch (const OutOfRange&) {
        results.emplace_back("OutOfRange");
      }
    };
  };
  const std::string narrow = "abc";
  withEachCallFailing(noting([&] {
    const std::unique_ptr<wchar_t[]> wide(AnsiToWide(narrow.data(), narrow.data() + 3, "carbon"));
    return wide[0] != L'\0';
  }));
  EXPECT_THAT(results, ElementsAre("InvalidLocale", "nothing", "text"));
  results.clear();
  withEachCallFailing(noting([&] {
    const std::unique_ptr<char[]> back(WideToAnsi(L"abc", "carbon"));
    return back[0] != '\0';
  }));
  EXPECT_THAT(results, ElementsAre("OutOfRange", "InvalidLocale", "nothing", "text"));
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
