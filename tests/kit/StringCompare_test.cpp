#include "kit/StringCompare.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cwctype>
#include <limits>
#include <string>

#include "kit/exception/InvalidSequence.h"
#include "tests/ReservedRange.h"
#include "tests/ScopedLocale.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

template <typename CharT>
std::int32_t CaseCompare(const std::basic_string<CharT>& a, const std::basic_string<CharT>& b) {
  return StringCaseCompare(a.data(), a.data() + a.size(), b.data(), b.data() + b.size());
}

template <typename CharT>
std::int32_t ExactCompare(const std::basic_string<CharT>& a, const std::basic_string<CharT>& b) {
  return StringExactCompare(a.data(), a.data() + a.size(), b.data(), b.data() + b.size());
}

const unsigned char* Utf8(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::int32_t Utf8CaseCompare(const std::string& a, const std::string& b) {
  return Utf8StringCaseInsensitiveCompare(Utf8(a), Utf8(a) + a.size(), Utf8(b), Utf8(b) + b.size());
}

std::int32_t Utf8ExactCompare(const std::string& a, const std::string& b) {
  return Utf8StringExactCompare(Utf8(a), Utf8(a) + a.size(), Utf8(b), Utf8(b) + b.size());
}

std::wstring OneWide(std::uint32_t value) {
  return {static_cast<wchar_t>(value)};
}

TEST(StringCaseCompare, OrdersWideTextWithoutRegardToCase) {
  EXPECT_LT(StringCaseCompare(L"abc", L"ABD"), 0);
  EXPECT_GT(StringCaseCompare(L"ABD", L"abc"), 0);
  EXPECT_EQ(StringCaseCompare(L"abc", L"ABC"), 0);
  EXPECT_LT(CaseCompare<wchar_t>(L"abc", L"ABD"), 0);
  EXPECT_GT(CaseCompare<wchar_t>(L"ABD", L"abc"), 0);
  EXPECT_EQ(CaseCompare<wchar_t>(L"abc", L"ABC"), 0);
}

template <typename CharT>
bool CaseEqual(const std::basic_string<CharT>& a, const std::basic_string<CharT>& b) {
  return StringCaseEqual(a.data(), a.data() + a.size(), b.data(), b.data() + b.size());
}

/// In short and in long texts, at their beginning and at their end.
template <typename CharT>
void ExpectEqualWhereTheOrderIsZero(CharT one, CharT other) {
  for (const std::size_t length : {1U, 40U}) {
    for (const std::size_t place : {std::size_t{0}, length - 1}) {
      std::basic_string<CharT> a(length, CharT{'m'});
      std::basic_string<CharT> b(length, CharT{'M'});
      a[place] = one;
      b[place] = other;
      ASSERT_EQ(CaseEqual(a, b), CaseCompare(a, b) == 0) << one << ' ' << other << ' ' << length;
    }
  }
}

TEST(StringCaseEqual, HoldsForAnyTwoBytesWhoseOrderIsZero) {
  for (int one = 0; one < 256; ++one) {
    for (int other = 0; other < 256; ++other)
      ExpectEqualWhereTheOrderIsZero(static_cast<char>(one), static_cast<char>(other));
  }
}

TEST(StringCaseEqual, HoldsForWideCharactersWhoseOrderIsZero) {
  for (std::uint32_t base : {0x0U, 0x100U, 0x10000U, 0x80000000U, 0xFFFFFF00U}) {
    for (std::uint32_t offset = 0; offset < 0x100; ++offset) {
      const std::uint32_t one = base + offset;
      for (const std::uint32_t other :
           {one, one ^ 0x20U, one ^ 0x20000000U, offset, offset ^ 0x20U})
        ExpectEqualWhereTheOrderIsZero(static_cast<wchar_t>(one), static_cast<wchar_t>(other));
    }
  }
}

template <typename CharT>
void ExpectThatADifferenceIsSeenAtEveryPlace() {
  for (std::size_t length = 1; length <= 100; ++length) {
    const std::basic_string<CharT> small(length, CharT{'m'});
    std::basic_string<CharT> other(length, CharT{'M'});
    ASSERT_TRUE(CaseEqual(small, other)) << length;
    for (CharT& character : other) {
      for (const CharT different : {CharT{'n'}, CharT{'-'}}) {
        character = different;
        ASSERT_FALSE(CaseEqual(small, other)) << length << ' ' << &character - other.data();
      }
      character = CharT{'M'};
    }
  }
}

TEST(StringCaseEqual, SeesADifferenceAtEveryPlaceOfTextsOfAnyLength) {
  ExpectThatADifferenceIsSeenAtEveryPlace<char>();
  ExpectThatADifferenceIsSeenAtEveryPlace<wchar_t>();
}

TEST(StringCaseEqual, NeverHoldsForTextsOfDifferentLengths) {
  for (const std::size_t length : {0U, 1U, 31U, 32U, 64U}) {
    EXPECT_FALSE(CaseEqual(std::string(length, 'a'), std::string(length + 1, 'a')));
    EXPECT_FALSE(CaseEqual(std::wstring(length + 1, L'a'), std::wstring(length, L'a')));
    EXPECT_TRUE(CaseEqual(std::string(length, 'a'), std::string(length, 'A')));
  }
}

TEST(StringCaseCompare, OrdersNarrowTextWithoutRegardToCase) {
  EXPECT_LT(StringCaseCompare("abc", "ABD"), 0);
  EXPECT_GT(StringCaseCompare("ABD", "abc"), 0);
  EXPECT_EQ(StringCaseCompare("abc", "ABC"), 0);
  EXPECT_LT(CaseCompare<char>("abc", "ABD"), 0);
  EXPECT_GT(CaseCompare<char>("ABD", "abc"), 0);
  EXPECT_EQ(CaseCompare<char>("abc", "ABC"), 0);
}

TEST(StringCaseCompare, ComparesUpperCaseSoThatTheUnderscoreComesAfterLetters) {
  EXPECT_GT(StringCaseCompare(L"_", L"a"), 0);
  EXPECT_GT(StringCaseCompare(L"_", L"A"), 0);
  EXPECT_GT(StringCaseCompare("_", "a"), 0);
}

TEST(StringCaseCompare, AnEmptyRangeGivesTheDifferenceOfTheLengths) {
  EXPECT_EQ(CaseCompare<wchar_t>(L"", L"a"), -1);
  EXPECT_EQ(CaseCompare<wchar_t>(L"", L"abc"), -3);
  EXPECT_EQ(CaseCompare<wchar_t>(L"abc", L""), 3);
  EXPECT_EQ(CaseCompare<wchar_t>(L"", L""), 0);
  EXPECT_EQ(CaseCompare<char>("", "a"), -1);
  EXPECT_EQ(CaseCompare<char>("abc", ""), 3);
  EXPECT_EQ(StringCaseCompare(L"", L"abc"), -3);
  EXPECT_EQ(StringCaseCompare("abc", ""), 3);
}

TEST(StringCaseCompare, NullRangesAreEmpty) {
  const wchar_t* wide = nullptr;
  const char* narrow = nullptr;
  EXPECT_EQ(StringCaseCompare(wide, wide, wide, wide), 0);
  EXPECT_EQ(StringCaseCompare(narrow, narrow, narrow, narrow), 0);
}

TEST(StringCaseCompare, ABeginningGivesTheDifferenceOfTheLengthsThatRemain) {
  EXPECT_EQ(CaseCompare<wchar_t>(L"AB", L"abcde"), -3);
  EXPECT_EQ(CaseCompare<wchar_t>(L"abcde", L"AB"), 3);
  EXPECT_EQ(CaseCompare<char>("AB", "abcde"), -3);
  EXPECT_EQ(StringCaseCompare(L"abcde", L"AB"), 3);
  EXPECT_EQ(StringCaseCompare("AB", "abcde"), -3);
}

TEST(StringCaseCompare, ADifferenceCountsBeforeTheLengths) {
  EXPECT_GT(CaseCompare<wchar_t>(L"b", L"aaaa"), 0);
  EXPECT_LT(CaseCompare<char>("aaaa", "b"), 0);
}

TEST(StringCaseCompare, RangesGoPastZeroCharacters) {
  using namespace std::string_literals;
  EXPECT_LT(CaseCompare(L"a\0b"s, L"A\0c"s), 0);
  EXPECT_EQ(CaseCompare(L"a\0b"s, L"A\0B"s), 0);
  EXPECT_EQ(CaseCompare(L"a\0b"s, L"A"s), 2);
  EXPECT_LT(CaseCompare("a\0b"s, "A\0c"s), 0);
}

TEST(StringCaseCompare, TerminatedTextEndsAtTheTerminator) {
  EXPECT_EQ(StringCaseCompare(L"a\0b", L"A\0c"), 0);
  EXPECT_EQ(StringCaseCompare("a\0b", "A\0c"), 0);
}

TEST(StringCaseCompare, WideCharactersAreOrderedAsSignedNumbers) {
  EXPECT_LT(CaseCompare(OneWide(0x80000000), OneWide(0)), 0);
  EXPECT_LT(CaseCompare(OneWide(0xFFFFFFFF), OneWide('a')), 0);
  EXPECT_GT(CaseCompare(OneWide(0x7FFFFFFF), OneWide(0x80000000)), 0);
  EXPECT_GT(CaseCompare(OneWide(0x10FFFF), OneWide('a')), 0);
}

TEST(StringCaseCompare, NarrowCharactersAreOrderedAsUnsignedBytes) {
  EXPECT_GT(CaseCompare<char>("\x80", "a"), 0);
  EXPECT_GT(CaseCompare<char>("\xFF", "\x7F"), 0);
  EXPECT_LT(CaseCompare<char>("\x80", "\xFF"), 0);
}

TEST(StringCaseCompare, OnlyTheLettersAToZHaveAnUpperCaseWhateverTheLocale) {
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_NE(CaseCompare<wchar_t>(L"\u00E9", L"\u00C9"), 0);
  EXPECT_NE(CaseCompare<char>("\xE9", "\xC9"), 0);
}

TEST(StringCaseCompare, OrdersWideCharactersByWhatTheCLibraryMapsThemToInTheCLocale) {
  const ScopedLocale c("C");
  const auto upper = [](std::uint32_t value) {
    return static_cast<std::uint32_t>(std::towupper(static_cast<wint_t>(value)));
  };
  for (std::uint32_t value = 0; value <= 0x1FFFF; ++value) {
    ASSERT_EQ(CaseCompare(OneWide(value), OneWide(upper(value))), 0) << std::hex << value;
    ASSERT_EQ(CaseCompare(OneWide(value), OneWide(value + 1)) < 0, upper(value) < upper(value + 1))
        << std::hex << value;
  }
}

TEST(StringCaseCompare, NarrowCharactersMapAsTheCLibraryMapsThemInTheCLocale) {
  const ScopedLocale c("C");
  for (int value = 0; value < 256; ++value) {
    const std::string character(1, static_cast<char>(value));
    for (int other = 0; other < 256; ++other) {
      const int expected = std::toupper(value) - std::toupper(other);
      const std::int32_t order = CaseCompare(character, std::string(1, static_cast<char>(other)));
      ASSERT_EQ(order < 0, expected < 0) << value << ' ' << other;
      ASSERT_EQ(order > 0, expected > 0) << value << ' ' << other;
    }
  }
}

TEST(StringCaseCompare, LengthsNear32BitsKeepTheirSign) {
  if (!ReservedRange<wchar_t>::fits(0xFFFFFFFF)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<wchar_t> wide(0xFFFFFFFF);
  const ReservedRange<char> narrow(0xFFFFFFFF);
  EXPECT_EQ(StringCaseCompare(wide.begin(), wide.end(), wide.begin(), wide.begin()), kMost);
  EXPECT_EQ(StringCaseCompare(wide.begin(), wide.begin(), wide.begin(), wide.end()), kLeast);
  EXPECT_EQ(StringCaseCompare(narrow.begin(), narrow.end(), narrow.begin(), narrow.begin()), kMost);
  EXPECT_EQ(StringCaseCompare(narrow.begin(), narrow.begin(), narrow.begin(), narrow.end()),
            kLeast);
}

TEST(StringCaseCompare, LengthsAreExactAsFarAs32BitsGo) {
  if (!ReservedRange<char>::fits(0x80000001)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<char> range(0x80000001);
  const char* begin = range.begin();
  EXPECT_EQ(StringCaseCompare(begin, begin + 0x7FFFFFFF, begin, begin), kMost);
  EXPECT_EQ(StringCaseCompare(begin, begin + 0x7FFFFFFE, begin, begin), kMost - 1);
  EXPECT_EQ(StringCaseCompare(begin, begin + 0x80000000, begin, begin), kMost);
  EXPECT_EQ(StringCaseCompare(begin, begin, begin, begin + 0x7FFFFFFF), kLeast + 1);
  EXPECT_EQ(StringCaseCompare(begin, begin, begin, begin + 0x80000000), kLeast);
  EXPECT_EQ(StringCaseCompare(begin, begin, begin, begin + 0x80000001), kLeast);
}

TEST(StringCompare, LengthsThatNeedMoreThan32BitsAreAsFarApartAsAResultCanSay) {
  constexpr std::uint64_t kLength = 0x100000001;
  if (!ReservedRange<wchar_t>::fits(kLength)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<wchar_t> wide(kLength);
  const ReservedRange<char> narrow(kLength);
  const ReservedRange<unsigned char> utf8(kLength);
  EXPECT_EQ(StringCaseCompare(wide.begin(), wide.end(), wide.begin(), wide.begin()), kMost);
  EXPECT_EQ(StringExactCompare(narrow.begin(), narrow.begin(), narrow.begin(), narrow.end()),
            kLeast);
  EXPECT_EQ(Utf8StringExactCompare(utf8.begin(), utf8.end(), utf8.begin(), utf8.begin()), kMost);
}

TEST(CLocaleStringCaseCompare, IsTheComparisonOfWideText) {
  const std::wstring a = L"abc";
  const std::wstring b = L"ABCD";
  const auto compare = [](const std::wstring& x, const std::wstring& y) {
    return CLocaleStringCaseCompare(x.data(), x.data() + x.size(), y.data(), y.data() + y.size());
  };
  EXPECT_EQ(compare(a, a), 0);
  EXPECT_EQ(compare(a, b), -1);
  EXPECT_EQ(compare(b, a), 1);
  EXPECT_GT(compare(L"abd", b), 0);
}

TEST(StringExactCompare, TellsCaseApart) {
  EXPECT_GT(StringExactCompare(L"abc", L"ABC"), 0);
  EXPECT_LT(StringExactCompare(L"ABC", L"abc"), 0);
  EXPECT_EQ(StringExactCompare(L"abc", L"abc"), 0);
  EXPECT_GT(StringExactCompare("abc", "ABC"), 0);
  EXPECT_LT(StringExactCompare("ABC", "abc"), 0);
  EXPECT_EQ(StringExactCompare("abc", "abc"), 0);
}

TEST(StringExactCompare, OrdersByTheFirstDifferenceThenByLength) {
  EXPECT_LT(ExactCompare<wchar_t>(L"abc", L"abd"), 0);
  EXPECT_EQ(ExactCompare<wchar_t>(L"ab", L"abcde"), -3);
  EXPECT_EQ(ExactCompare<wchar_t>(L"abcde", L"ab"), 3);
  EXPECT_EQ(ExactCompare<wchar_t>(L"", L""), 0);
  EXPECT_GT(ExactCompare<char>("b", "aaaa"), 0);
  EXPECT_EQ(ExactCompare<char>("ab", "abcde"), -3);
  EXPECT_EQ(StringExactCompare(L"", L"a"), -1);
  EXPECT_EQ(StringExactCompare("abc", "a"), 2);
}

TEST(StringExactCompare, RangesGoPastZeroCharactersAndTerminatedTextDoesNot) {
  using namespace std::string_literals;
  EXPECT_LT(ExactCompare(L"a\0b"s, L"a\0c"s), 0);
  EXPECT_LT(ExactCompare("a\0b"s, "a\0c"s), 0);
  EXPECT_EQ(StringExactCompare(L"a\0b", L"a\0c"), 0);
  EXPECT_EQ(StringExactCompare("a\0b", "a\0c"), 0);
}

TEST(StringExactCompare, OrdersWideCharactersAsSignedAndNarrowOnesAsUnsigned) {
  EXPECT_LT(ExactCompare(OneWide(0xFFFFFFFF), OneWide(0)), 0);
  EXPECT_GT(ExactCompare<char>("\xFF", "a"), 0);
}

TEST(StringExactCompare, LengthsNear32BitsKeepTheirSign) {
  if (!ReservedRange<wchar_t>::fits(0xFFFFFFFF)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<wchar_t> wide(0xFFFFFFFF);
  const ReservedRange<char> narrow(0xFFFFFFFF);
  EXPECT_EQ(StringExactCompare(wide.begin(), wide.end(), wide.begin(), wide.begin()), kMost);
  EXPECT_EQ(StringExactCompare(wide.begin(), wide.begin(), wide.begin(), wide.end()), kLeast);
  EXPECT_EQ(StringExactCompare(narrow.begin(), narrow.end(), narrow.begin(), narrow.begin()),
            kMost);
  EXPECT_EQ(StringExactCompare(narrow.begin(), narrow.begin(), narrow.begin(), narrow.end()),
            kLeast);
}

TEST(Utf8StringCaseInsensitiveCompare, IgnoresTheCaseOfTheLettersAToZOnly) {
  EXPECT_EQ(Utf8CaseCompare("abc\xC3\xA9", "ABC\xC3\xA9"), 0);
  EXPECT_GT(Utf8CaseCompare("\xC3\xA9", "\xC3\x89"), 0);
  EXPECT_LT(Utf8CaseCompare("abc", "ABD"), 0);
}

TEST(Utf8StringCaseInsensitiveCompare, TakesTerminatedTextToo) {
  const std::string a = "abc";
  const std::string b = "ABCDE";
  EXPECT_EQ(Utf8StringCaseInsensitiveCompare(Utf8(a), Utf8(b)), -2);
  EXPECT_EQ(Utf8StringCaseInsensitiveCompare(Utf8(b), Utf8(a)), 2);
  EXPECT_EQ(Utf8StringCaseInsensitiveCompare(Utf8(a), Utf8(a)), 0);
}

TEST(Utf8StringCaseInsensitiveCompare, CountsTheLengthThatRemainsInBytes) {
  EXPECT_EQ(Utf8CaseCompare("", "\xE2\x82\xAC"), -3);
  EXPECT_EQ(Utf8CaseCompare("A\xE2\x82\xAC\xC3\xA9", "a"), 5);
}

TEST(Utf8StringCaseInsensitiveCompare, OrdersByCodePointNotByByte) {
  // 0x4000000 has two spellings, the first with the smaller lead byte.
  EXPECT_EQ(Utf8CaseCompare("\xF8\x84\x80\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80"), 0);
  EXPECT_GT(Utf8CaseCompare("\xF9\x84\x80\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80"), 0);
}

TEST(Utf8StringCaseInsensitiveCompare, BadBytesInEitherTextThrow) {
  EXPECT_THROW(Utf8CaseCompare("a\xFF", "a\xC3\xA9"), exception::InvalidSequence);
  EXPECT_THROW(Utf8CaseCompare("a\xC3\xA9", "a\xFF"), exception::InvalidSequence);
  EXPECT_THROW(Utf8CaseCompare("a\xC3", "ab"), exception::InvalidSequence);
  EXPECT_THROW(Utf8CaseCompare("\xFF", "\xFF"), exception::InvalidSequence);
}

TEST(Utf8StringCaseInsensitiveCompare, BadBytesBehindTheAnswerDoNotCount) {
  EXPECT_LT(Utf8CaseCompare("a\xFF", "b\xFF"), 0);
  EXPECT_EQ(Utf8CaseCompare("a", "A\xFF\xFF"), -2);
  EXPECT_EQ(Utf8CaseCompare("\xFF", ""), 1);
}

TEST(Utf8StringCaseInsensitiveCompare, RangesGoPastZeroBytes) {
  using namespace std::string_literals;
  EXPECT_LT(Utf8CaseCompare("a\0b"s, "A\0c"s), 0);
  EXPECT_EQ(Utf8CaseCompare(""s, "\0"s), -1);
}

TEST(Utf8StringCaseInsensitiveCompare, LengthsNear32BitsKeepTheirSign) {
  if (!ReservedRange<unsigned char>::fits(0xFFFFFFFF)) GTEST_SKIP() << "needs addresses of 64 bits";
  const ReservedRange<unsigned char> range(0xFFFFFFFF);
  EXPECT_EQ(
      Utf8StringCaseInsensitiveCompare(range.begin(), range.end(), range.begin(), range.begin()),
      kMost);
  EXPECT_EQ(
      Utf8StringCaseInsensitiveCompare(range.begin(), range.begin(), range.begin(), range.end()),
      kLeast);
}

TEST(Utf8StringExactCompare, TellsCaseApart) {
  EXPECT_GT(Utf8ExactCompare("abc", "ABC"), 0);
  EXPECT_LT(Utf8ExactCompare("ABC", "abc"), 0);
  EXPECT_EQ(Utf8ExactCompare("abc\xC3\xA9", "abc\xC3\xA9"), 0);
  EXPECT_EQ(Utf8ExactCompare("a", "a\xE2\x82\xAC"), -3);
  EXPECT_THROW(Utf8ExactCompare("\xC0\x80", "a"), exception::InvalidSequence);
}

TEST(Utf8StringExactCompare, TakesTerminatedTextToo) {
  const std::string a = "abc";
  const std::string b = "Abc";
  EXPECT_GT(Utf8StringExactCompare(Utf8(a), Utf8(b)), 0);
  EXPECT_LT(Utf8StringExactCompare(Utf8(b), Utf8(a)), 0);
  EXPECT_EQ(Utf8StringExactCompare(Utf8(a), Utf8(a)), 0);
}

TEST(Utf8StringCompareInternal, TheFlagDecidesAboutCase) {
  const std::string a = "a";
  const std::string b = "A";
  EXPECT_EQ(Utf8StringCompareInternal(Utf8(a), Utf8(a) + 1, Utf8(b), Utf8(b) + 1, true), 0);
  EXPECT_GT(Utf8StringCompareInternal(Utf8(a), Utf8(a) + 1, Utf8(b), Utf8(b) + 1, false), 0);
}

}  // namespace
