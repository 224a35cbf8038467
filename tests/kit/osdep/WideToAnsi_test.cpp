#include "kit/osdep/WideToAnsi.h"

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
using qv::tests::Narrow;

std::wstring Single(std::uint32_t value) {
  return {static_cast<wchar_t>(value)};
}

// Into a buffer of room bytes.
std::string NarrowInto(std::size_t room, const std::wstring& text, const char* locale) {
  const ExactBuffer<wchar_t> input(std::vector<wchar_t>(text.begin(), text.end()));
  ExactBuffer<char> out(room);
  std::fill(out.begin(), out.end(), '#');
  char* end = out.end();
  const std::uint32_t count =
      WideToAnsiNoAlloc(input.begin(), input.end(), locale, out.begin(), end);
  EXPECT_EQ(end, out.begin() + count);
  EXPECT_TRUE(std::all_of(end, out.end(), [](char c) { return c == '#'; }));
  return {out.begin(), end};
}

TEST(WideToAnsi, ConvertsIntoTheNamedEncoding) {
  struct Row {
    const wchar_t* text;
    const char* encoding;
    const char* bytes;
  };
  const Row rows[] = {
      {L"\u00E9\u20AC\U0001F600", "UTF-8", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {L"a\u00FF", "ISO-8859-1", "a\xFF"},
      {L"\u00E9\u20AC", "ISO-8859-15", "\xE9\xA4"},
      {L"\u20AC", "WINDOWS-1252", "\x80"},
      {L"\u0416\u0434", "KOI8-R", "\xF6\xC4"},
      {L"\u65E5\u672C\uFF71", "SHIFT_JIS", "\x93\xFA\x96\x7B\xB1"},
      {L"\u6F22", "EUC-JP", "\xB4\xC1"},
      {L"\u6F22", "BIG5", "\xBA\x7E"},
      {L"\U0001F600", "GB18030", "\x94\x39\xFC\x36"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Narrow(row.text, row.encoding), row.bytes) << row.encoding;
  }
  EXPECT_EQ(Narrow(L"a\U0001F600", "UTF-16LE"), std::string("a\0\x3D\xD8\0\xDE", 6));
}

TEST(WideToAnsi, ACharacterThatTheEncodingLacksIsASingleQuestionMark) {
  EXPECT_EQ(Narrow(L"a\u20ACb", "ISO-8859-1"), "a?b");
  EXPECT_EQ(Narrow(L"\u20AC\U0001F600", "US-ASCII"), "??");
}

TEST(WideToAnsi, ACharacterThatOnlyTagsTextIsDroppedWhereTheEncodingLacksIt) {
  for (const char* encoding : {"US-ASCII", "ISO-8859-1", "KOI8-R"})
    EXPECT_EQ(Narrow(L"a\U000E0000\U000E0041\U000E007Fb", encoding), "ab") << encoding;
  EXPECT_EQ(Narrow(L"\U000E0080", "US-ASCII"), "?");
  EXPECT_EQ(Narrow(L"\U000E0041", "UTF-8"), "\xF3\xA0\x81\x81");
}

TEST(WideToAnsi, WhatIsNoCodePointIsASingleQuestionMark) {
  for (const std::uint32_t value : {0xD800U, 0xDFFFU, 0x110000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    EXPECT_EQ(Narrow(L"a" + Single(value) + L"b", "UTF-8"), "a?b") << std::hex << value;
  }
}

TEST(WideToAnsi, TheQuestionMarkIsOneByteInEveryEncoding) {
  EXPECT_EQ(Narrow(Single(0xD800) + L"a", "UTF-16LE"), std::string("?a\0", 3));
}

TEST(WideToAnsi, ALastLetterThatAMarkMightFollowIsLostWhereTheEncodingLooksAhead) {
  struct Row {
    const char* encoding;
    const wchar_t* last;
    const wchar_t* notLast;
    const char* bytes;
  };
  const Row rows[] = {
      {"BIG5-HKSCS", L"b\u00CA", L"b\u00CA.", "b\x88\x66."},
      {"EUC-JISX0213", L"b\u304B", L"b\u304B.", "b\xA4\xAB."},
      {"SHIFT_JISX0213", L"b\u304B", L"b\u304B.", "b\x82\xA9."},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Narrow(row.last, row.encoding), "b") << row.encoding;
    EXPECT_EQ(Narrow(row.notLast, row.encoding), row.bytes) << row.encoding;
  }
  EXPECT_EQ(NarrowInto(32, L"b\u304B", "ISO-2022-JP-3"), "b");
}

TEST(WideToAnsi, KeepsZeroCharacters) {
  EXPECT_EQ(Narrow(std::wstring(L"a\0b", 3), "UTF-8"), std::string("a\0b", 3));
}

TEST(WideToAnsi, AnEmptyInputIsTheTerminatorAlone) {
  char* begin = nullptr;
  char* end = nullptr;
  WideToAnsi(nullptr, nullptr, "UTF-8", begin, end);
  const std::unique_ptr<char[]> owner(begin);
  ASSERT_NE(begin, nullptr);
  EXPECT_EQ(begin, end);
  EXPECT_EQ(*end, '\0');
}

TEST(WideToAnsi, AnEmptyInputDoesNotLookAtTheEncoding) {
  EXPECT_EQ(Narrow(L"", "no-such-encoding"), "");
}

TEST(WideToAnsi, ReturnsTheNewArrayAlone) {
  const std::wstring text = L"\u00E9x";
  const std::unique_ptr<char[]> narrow(WideToAnsi(text.data(), text.data() + text.size(), "UTF-8"));
  EXPECT_STREQ(narrow.get(), "\xC3\xA9x");
}

TEST(WideToAnsi, TakesTerminatedText) {
  EXPECT_STREQ(std::unique_ptr<char[]>(WideToAnsi(L"\u00E9x", "ISO-8859-1")).get(), "\xE9x");
  EXPECT_STREQ(std::unique_ptr<char[]>(WideToAnsi(L"", "ISO-8859-1")).get(), "");
}

TEST(WideToAnsi, AnUnknownEncodingThrowsInvalidLocaleAndChangesNothing) {
  const std::wstring text = L"a";
  char here = 'x';
  char* begin = &here;
  char* end = &here;
  try {
    WideToAnsi(text.data(), text.data() + 1, "no-such-encoding", begin, end);
    FAIL();
  } catch (const exception::InvalidLocale& e) {
    EXPECT_STREQ(e.what(), "Invalid locale");
    EXPECT_EQ(e.getErrorCode(), -1967362012);
    EXPECT_STREQ(e.file(), "kit/osdep/IConv.h");
  }
  EXPECT_EQ(begin, &here);
  EXPECT_EQ(end, &here);
}

TEST(WideToAnsi, TheEmptyNameIsTheEncodingOfTheCurrentLocale) {
  const ScopedLocale c("C");
  EXPECT_EQ(Narrow(L"a\u00E9", ""), "a?");
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_EQ(Narrow(L"a\u00E9", ""), "a\xC3\xA9");
}

TEST(WideToAnsi, CarbonIsTheEncodingOfTheCurrentLocaleAndNoNameForIconv) {
  const ScopedLocale c("C");
  ASSERT_EQ(::iconv_open("carbon", "UTF-32LE"), reinterpret_cast<iconv_t>(-1));
  EXPECT_EQ(Narrow(L"a\u00E9", "carbon"), "a?");
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_EQ(Narrow(L"a\u00E9\U0001F600", "carbon"), "a\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(NarrowInto(0, L"", "carbon"), "");
}

TEST(WideToAnsi, OnlyTheExactNameCarbonIsReserved) {
  for (const char* name : {"Carbon", "CARBON", "carbon ", "carbo", "carbon2"}) {
    EXPECT_THROW(Narrow(L"a", name), exception::InvalidLocale) << name;
  }
}

TEST(WideToAnsi, AStatefulEncodingIsNotBroughtBackToItsInitialState) {
  EXPECT_EQ(NarrowInto(32, L"\u65E5", "ISO-2022-JP"), "\x1B$BF|");
  EXPECT_EQ(NarrowInto(32, L"\u65E5a", "ISO-2022-JP"), "\x1B$BF|\x1B(Ba");
}

TEST(WideToAnsi, ACharacterPastTheBoundOfFourBytesIsAQuestionMark) {
  EXPECT_EQ(Narrow(L"\u65E5", "ISO-2022-JP").back(), '?');
}

TEST(WideToAnsiNoAlloc, OutputThatDoesNotFitIsCutSilently) {
  EXPECT_EQ(NarrowInto(2, L"abc", "UTF-8"), "ab");
  EXPECT_EQ(NarrowInto(3, L"\u20ACabc", "UTF-8"), "\xE2\x82\xAC");
  EXPECT_EQ(NarrowInto(0, L"abc", "UTF-8"), "");
}

TEST(WideToAnsiNoAlloc, ACharacterTooLargeForTheRoomBecomesAQuestionMarkAndTheRestGoesOn) {
  EXPECT_EQ(NarrowInto(2, L"\u20ACb", "UTF-8"), "?b");
  EXPECT_EQ(NarrowInto(4, L"a\U0001F600\u00E9b", "UTF-8"), "a?\xC3\xA9");
  EXPECT_EQ(NarrowInto(1, L"\u00E9", "UTF-8"), "?");
}

TEST(WideToAnsiNoAlloc, WritesNoTerminatorAndLeavesTheRoomThatItDoesNotNeed) {
  EXPECT_EQ(NarrowInto(10, L"ab", "UTF-8"), "ab");
}

TEST(WideToAnsiNoAlloc, LooksAtTheEncodingEvenWhenThereIsNothingToConvert) {
  EXPECT_THROW(NarrowInto(4, L"", "no-such-encoding"), exception::InvalidLocale);
  EXPECT_THROW(NarrowInto(0, L"a", "no-such-encoding"), exception::InvalidLocale);
  EXPECT_EQ(NarrowInto(4, L"", "UTF-8"), "");
}

TEST(GetWideToAnsiRequiredBufferLength, IsFourBytesForEachCharacter) {
  const std::wstring text = L"abc";
  EXPECT_EQ(GetWideToAnsiRequiredBufferLength(text.data(), text.data() + 3, "UTF-8"), 12U);
  EXPECT_EQ(GetWideToAnsiRequiredBufferLength(text.data(), text.data() + 3, "US-ASCII"), 12U);
  EXPECT_EQ(GetWideToAnsiRequiredBufferLength(text.data(), text.data(), "UTF-8"), 0U);
}

TEST(GetWideToAnsiRequiredBufferLength, OfTheSystemEncodingIsWhatTheCLibraryMayNeed) {
  const ScopedLocale c("C");
  const std::wstring text = L"abc";
  EXPECT_EQ(GetWideToAnsiRequiredBufferLength(text.data(), text.data() + 3, "carbon"), 3U);
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_EQ(GetWideToAnsiRequiredBufferLength(text.data(), text.data() + 3, "carbon"),
            3 * MB_CUR_MAX);
}

TEST(GetWideToAnsiRequiredBufferLength, RefusesWhatDoesNotFitIn32Bits) {
  if (!ReservedRange<wchar_t>::fits(0x40000000)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<wchar_t> range(0x40000000);
  EXPECT_EQ(GetWideToAnsiRequiredBufferLength(range.begin(), range.end() - 1, "UTF-8"),
            0xFFFFFFFCU);
  EXPECT_THROW(GetWideToAnsiRequiredBufferLength(range.begin(), range.end(), "UTF-8"),
               exception::OutOfRange);
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_THROW(GetWideToAnsiRequiredBufferLength(range.begin(), range.end(), "carbon"),
               exception::OutOfRange);
}

}  // namespace
