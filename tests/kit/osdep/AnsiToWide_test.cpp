#include "kit/osdep/AnsiToWide.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <memory>
#include <string>

#include "kit/exception/InvalidLocale.h"
#include "kit/exception/OutOfRange.h"
#include "tests/ExactBuffer.h"
#include "tests/ReservedRange.h"
#include "tests/ScopedLocale.h"
#include "tests/kit/osdep/Converted.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::tests::Wide;

// Into a buffer of room characters.
std::wstring WideInto(std::size_t room, const std::string& text, const char* locale) {
  const ExactBuffer<char> input(std::vector<char>(text.begin(), text.end()));
  ExactBuffer<wchar_t> out(room);
  std::fill(out.begin(), out.end(), L'#');
  wchar_t* end = out.end();
  const std::uint32_t count =
      AnsiToWideNoAlloc(input.begin(), input.end(), locale, out.begin(), end);
  EXPECT_EQ(end, out.begin() + count);
  EXPECT_TRUE(std::all_of(end, out.end(), [](wchar_t c) { return c == L'#'; }));
  return {out.begin(), end};
}

TEST(AnsiToWide, ConvertsFromTheNamedEncoding) {
  struct Row {
    const char* bytes;
    const char* encoding;
    const wchar_t* text;
  };
  const Row rows[] = {
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "UTF-8", L"\u00E9\u20AC\U0001F600"},
      {"a\xC3\xFF", "ISO-8859-1", L"a\u00C3\u00FF"},
      {"\xE9\xA4", "ISO-8859-15", L"\u00E9\u20AC"},
      {"\x80", "WINDOWS-1252", L"\u20AC"},
      {"\xF6\xC4", "KOI8-R", L"\u0416\u0434"},
      {"\x93\xFA\x96\x7B\xB1", "SHIFT_JIS", L"\u65E5\u672C\uFF71"},
      {"\xB4\xC1", "EUC-JP", L"\u6F22"},
      {"\xBA\x7E", "BIG5", L"\u6F22"},
      {"\x94\x39\xFC\x36", "GB18030", L"\U0001F600"},
      {"\x1B$BF|\x1B(Ba\x1B$BK\\\x1B(B", "ISO-2022-JP", L"\u65E5a\u672C"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Wide(row.bytes, row.encoding), row.text) << row.encoding;
  }
  EXPECT_EQ(Wide(std::string("a\0\x3D\xD8\0\xDE", 6), "UTF-16LE"), L"a\U0001F600");
}

TEST(AnsiToWide, EachOffendingByteIsAQuestionMark) {
  EXPECT_EQ(Wide("a\xFF\xFE"
                 "b",
                 "UTF-8"),
            L"a??b");
  EXPECT_EQ(Wide("\x80\xC3\xA9", "US-ASCII"), L"???");
  EXPECT_EQ(Wide("\xED\xA0\x80", "UTF-8"), L"???");
}

TEST(AnsiToWide, ACharacterCutOffByTheEndIsAQuestionMarkForEachOfItsBytes) {
  EXPECT_EQ(Wide("a\xE2", "UTF-8"), L"a?");
  EXPECT_EQ(Wide("a\xE2\x82", "UTF-8"), L"a??");
  EXPECT_EQ(Wide("a\xF0\x9F\x98", "UTF-8"), L"a???");
  EXPECT_EQ(Wide("a\x93", "SHIFT_JIS"), L"a?");
  EXPECT_EQ(Wide(std::string("a\0b", 3), "UTF-16LE"), L"a?");
}

TEST(AnsiToWide, ALastLetterThatAMarkMightFollowIsLostWhereTheEncodingLooksAhead) {
  struct Row {
    const char* encoding;
    const char* last;
    const char* notLast;
    const wchar_t* text;
  };
  const Row rows[] = {
      {"CP1255", "b\xE0", "b\xE0.", L"b\u05D0."},
      {"CP1258", "ba", "ba.", L"ba."},
      {"TCVN", "ba", "ba.", L"ba."},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Wide(row.last, row.encoding), L"b") << row.encoding;
    EXPECT_EQ(Wide(row.notLast, row.encoding), row.text) << row.encoding;
  }
}

TEST(AnsiToWide, ALetterThatIsHeldBackComesAfterTheQuestionMarkOfTheByteThatFollowsIt) {
  EXPECT_EQ(Wide("\xE0\xFC"
                 "b",
                 "CP1255"),
            L"?\u05D0b");
}

TEST(AnsiToWide, KeepsZeroBytes) {
  EXPECT_EQ(Wide(std::string("a\0b", 3), "UTF-8"), std::wstring(L"a\0b", 3));
}

TEST(AnsiToWide, AnEmptyInputIsTheTerminatorAlone) {
  wchar_t* begin = nullptr;
  wchar_t* end = nullptr;
  AnsiToWide(nullptr, nullptr, "UTF-8", begin, end);
  const std::unique_ptr<wchar_t[]> owner(begin);
  ASSERT_NE(begin, nullptr);
  EXPECT_EQ(begin, end);
  EXPECT_EQ(*end, L'\0');
}

TEST(AnsiToWide, AnEmptyInputDoesNotLookAtTheEncoding) {
  EXPECT_EQ(Wide("", "no-such-encoding"), L"");
}

TEST(AnsiToWide, ReturnsTheNewArrayAlone) {
  const std::string text = "\xC3\xA9x";
  const std::unique_ptr<wchar_t[]> wide(
      AnsiToWide(text.data(), text.data() + text.size(), "UTF-8"));
  EXPECT_STREQ(wide.get(), L"\u00E9x");
}

TEST(AnsiToWide, AnUnknownEncodingThrowsInvalidLocaleAndChangesNothing) {
  const std::string text = "a";
  wchar_t here = L'x';
  wchar_t* begin = &here;
  wchar_t* end = &here;
  try {
    AnsiToWide(text.data(), text.data() + 1, "no-such-encoding", begin, end);
    FAIL();
  } catch (const exception::InvalidLocale& e) {
    EXPECT_STREQ(e.what(), "Invalid locale");
    EXPECT_EQ(e.getErrorCode(), -1967362012);
  }
  EXPECT_EQ(begin, &here);
  EXPECT_EQ(end, &here);
}

TEST(AnsiToWide, TheEmptyNameIsTheEncodingOfTheCurrentLocale) {
  const ScopedLocale c("C");
  EXPECT_EQ(Wide("a\xC3\xA9", ""), L"a??");
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_EQ(Wide("a\xC3\xA9", ""), L"a\u00E9");
}

TEST(AnsiToWide, CarbonIsTheEncodingOfTheCurrentLocaleAndNoNameForIconv) {
  const ScopedLocale c("C");
  ASSERT_EQ(::iconv_open("UTF-32LE", "carbon"), reinterpret_cast<iconv_t>(-1));
  EXPECT_EQ(Wide("a\xC3\xA9", "carbon"), L"a??");
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_EQ(Wide("a\xC3\xA9\xFF", "carbon"), L"a\u00E9?");
  EXPECT_EQ(WideInto(1, "ab", "carbon"), L"a");
  EXPECT_EQ(WideInto(2, "", "carbon"), L"");
}

TEST(AnsiToWide, OnlyTheExactNameCarbonIsReserved) {
  for (const char* name : {"Carbon", "CARBON", "carbon ", "carbo", "carbon2"}) {
    EXPECT_THROW(Wide("a", name), exception::InvalidLocale) << name;
  }
}

TEST(AnsiToWideNoAlloc, OutputThatDoesNotFitIsCutSilently) {
  EXPECT_EQ(WideInto(2, "abc", "UTF-8"), L"ab");
  EXPECT_EQ(WideInto(1,
                     "\xE2\x82\xAC"
                     "abc",
                     "UTF-8"),
            L"\u20AC");
  EXPECT_EQ(WideInto(1, "\xFF\xFF", "UTF-8"), L"?");
  EXPECT_EQ(WideInto(0, "abc", "UTF-8"), L"");
}

TEST(AnsiToWideNoAlloc, WritesNoTerminatorAndLeavesTheRoomThatItDoesNotNeed) {
  EXPECT_EQ(WideInto(10, "ab", "UTF-8"), L"ab");
}

TEST(AnsiToWideNoAlloc, LooksAtTheEncodingEvenWhenThereIsNothingToConvert) {
  EXPECT_THROW(WideInto(4, "", "no-such-encoding"), exception::InvalidLocale);
  EXPECT_THROW(WideInto(0, "a", "no-such-encoding"), exception::InvalidLocale);
  EXPECT_EQ(WideInto(4, "", "UTF-8"), L"");
}

TEST(AnsiToWideNoAlloc, ABufferOfTheRequiredLengthNeverTruncates) {
  const std::string text = "\xFF\x80z\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF0\x9F\x98";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    const std::string part = text.substr(0, length);
    const std::uint32_t room =
        GetAnsiToWideRequiredBufferLength(part.data(), part.data() + length, "UTF-8");
    EXPECT_EQ(WideInto(room, part, "UTF-8"), WideInto(100, part, "UTF-8")) << length;
  }
}

TEST(GetAnsiToWideRequiredBufferLength, IsTheNumberOfBytes) {
  const std::string text = "\xC3\xA9x";
  EXPECT_EQ(GetAnsiToWideRequiredBufferLength(text.data(), text.data() + 3, "UTF-8"), 3U);
  EXPECT_EQ(GetAnsiToWideRequiredBufferLength(text.data(), text.data() + 3, "carbon"), 3U);
  EXPECT_EQ(GetAnsiToWideRequiredBufferLength(text.data(), text.data(), "UTF-8"), 0U);
}

TEST(GetAnsiToWideRequiredBufferLength, RefusesWhatDoesNotFitIn32Bits) {
  if (!ReservedRange<char>::fits(0x100000000)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<char> range(0x100000000);
  EXPECT_EQ(GetAnsiToWideRequiredBufferLength(range.begin(), range.end() - 1, ""), 0xFFFFFFFFU);
  EXPECT_THROW(GetAnsiToWideRequiredBufferLength(range.begin(), range.end(), ""),
               exception::OutOfRange);
}

}  // namespace
