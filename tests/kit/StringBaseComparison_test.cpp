#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "kit/StringBase.h"
#include "kit/exception/InvalidSequence.h"
#include "kit/exception/OutOfRange.h"
#include "kit/exception/OutOfRange2.h"
#include "tests/kit/AsciiText.h"

namespace {

using qv::kit::CountedString;
using qv::kit::String;
using qv::kit::Utf8String;
using qv::kit::WString;
using qv::kit::exception::InvalidSequence;
using qv::kit::exception::OutOfRange;
using qv::kit::exception::OutOfRange2;
using qv::tests::FromAscii;

int Sign(std::int32_t value) {
  return (value > 0) - (value < 0);
}

template <typename S>
class StringComparison : public testing::Test {};

using Forms = testing::Types<WString, String, CountedString, Utf8String>;
TYPED_TEST_SUITE(StringComparison, Forms);

struct Row {
  const char* a;
  const char* b;
  int compared;
  int exactlyCompared;
};

constexpr Row kRows[] = {
    {"", "", 0, 0},       {"Abc", "aBC", 0, -1}, {"aBC", "Abc", 0, 1}, {"abc", "ABD", -1, 1},
    {"abd", "ABC", 1, 1}, {"abc", "ab", 1, 1},   {"ab", "ABC", -1, 1}, {"", "a", -1, -1},
    {"a", "", 1, 1},      {"a_", "aB", 1, 1},    {"a[", "az", 1, -1},  {"a`", "aa", 1, -1},
};

TYPED_TEST(StringComparison, DisregardsCaseUnlessExact) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.a) + " and " + row.b);
    const auto a = FromAscii<TypeParam>(row.a);
    const auto b = FromAscii<TypeParam>(row.b);
    EXPECT_EQ(Sign(a.compare(b)), row.compared);
    EXPECT_EQ(Sign(a.compare(b.c_str())), row.compared);
    EXPECT_EQ(Sign(a.exactCompare(b)), row.exactlyCompared);
    EXPECT_EQ(Sign(a.exactCompare(b.c_str())), row.exactlyCompared);
  }
}

/// Whether each of the operators takes these two, in this order.
template <typename A, typename B, typename = void>
constexpr bool kEquate = false;
template <typename A, typename B>
constexpr bool kEquate<A, B, std::void_t<decltype(std::declval<A>() == std::declval<B>())>> = true;
template <typename A, typename B, typename = void>
constexpr bool kDiffer = false;
template <typename A, typename B>
constexpr bool kDiffer<A, B, std::void_t<decltype(std::declval<A>() != std::declval<B>())>> = true;
template <typename A, typename B, typename = void>
constexpr bool kOrder = false;
template <typename A, typename B>
constexpr bool kOrder<A, B, std::void_t<decltype(std::declval<A>() < std::declval<B>())>> = true;
template <typename A, typename B>
constexpr bool kCompare = kEquate<A, B>&& kDiffer<A, B>&& kOrder<A, B>;
template <typename A, typename B>
constexpr bool kNeverCompare = !(kEquate<A, B> || kEquate<B, A> || kDiffer<A, B> || kDiffer<B, A> ||
                                 kOrder<A, B> || kOrder<B, A>);

static_assert(kCompare<WString, const wchar_t*> && kCompare<const wchar_t*, WString>);
static_assert(kCompare<String, const char*> && kCompare<const char*, String>);
static_assert(kNeverCompare<WString, const char*>);
static_assert(kNeverCompare<String, const wchar_t*>);
static_assert(kNeverCompare<CountedString, const wchar_t*>);
static_assert(kNeverCompare<Utf8String, const wchar_t*>);
static_assert(kNeverCompare<WString, String>);

TYPED_TEST(StringComparison, OperatorsFollowCompare) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.a) + " and " + row.b);
    const auto a = FromAscii<TypeParam>(row.a);
    const auto b = FromAscii<TypeParam>(row.b);
    EXPECT_EQ(a == b, row.compared == 0);
    EXPECT_EQ(a != b, row.compared != 0);
    EXPECT_EQ(a < b, row.compared < 0);
    EXPECT_EQ(a > b, row.compared > 0);
    EXPECT_EQ(a <= b, row.compared <= 0);
    EXPECT_EQ(a >= b, row.compared >= 0);
  }
}

TYPED_TEST(StringComparison, OperatorsTakePointersOnEitherSide) {
  const auto a = FromAscii<TypeParam>("Abc");
  const auto b = FromAscii<TypeParam>("aBD");
  EXPECT_TRUE(a == a.c_str());
  EXPECT_TRUE(a.c_str() == a);
  EXPECT_TRUE(a != b.c_str());
  EXPECT_TRUE(a.c_str() != b);
  EXPECT_TRUE(a < b.c_str());
  EXPECT_TRUE(a.c_str() < b);
  EXPECT_TRUE(b > a.c_str());
  EXPECT_TRUE(b.c_str() > a);
  EXPECT_TRUE(a <= b.c_str());
  EXPECT_TRUE(b >= a.c_str());
}

TYPED_TEST(StringComparison, ANullPointerIsEmptyText) {
  const decltype(TypeParam().c_str()) null = nullptr;
  EXPECT_TRUE(TypeParam() == null);
  EXPECT_GT(FromAscii<TypeParam>("a").compare(null), 0);
  EXPECT_EQ(TypeParam().exactCompare(null), 0);
}

TYPED_TEST(StringComparison, GoesBeyondEmbeddedZeros) {
  const auto a = FromAscii<TypeParam>(std::string_view("a\0b", 3));
  const auto b = FromAscii<TypeParam>(std::string_view("a\0c", 3));
  EXPECT_LT(a.compare(b), 0);
  EXPECT_LT(a.exactCompare(b), 0);
  EXPECT_GT(a.compare(a.c_str()), 0);
}

TYPED_TEST(StringComparison, ResultIsTheDifferenceOfTheLengthsWhereOneTextBeginsTheOther) {
  EXPECT_EQ(FromAscii<TypeParam>("abcdef").compare(FromAscii<TypeParam>("ABC")), 3);
  EXPECT_EQ(FromAscii<TypeParam>("").compare(FromAscii<TypeParam>("abcd")), -4);
  EXPECT_EQ(FromAscii<TypeParam>("ab").exactCompare(FromAscii<TypeParam>("abcd")), -2);
}

TYPED_TEST(StringComparison, PartsAreComparedByPositionAndCount) {
  const auto string = FromAscii<TypeParam>("Harbour");
  const auto other = FromAscii<TypeParam>("ARBalest");
  EXPECT_EQ(string.compare(1, 3, other.c_str(), 3), 0);
  EXPECT_NE(string.compare(1, 3, other.c_str(), 4), 0);
  EXPECT_GT(string.compare(1, 4, other.c_str(), 4), 0);
  EXPECT_EQ(string.compare(1, TypeParam::npos, FromAscii<TypeParam>("ARBOUR").c_str(), 6), 0);
  EXPECT_EQ(string.compare(1, 100, FromAscii<TypeParam>("ARBOUR").c_str(), TypeParam::npos), 0);
  EXPECT_EQ(string.compare(7, 1, other.c_str(), 0), 0);
}

TYPED_TEST(StringComparison, PartsPastTheEndAreRefused) {
  const auto string = FromAscii<TypeParam>("Harbour");
  try {
    string.compare(8, 0, string.c_str(), 0);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const OutOfRange2& refusal) {
    EXPECT_STREQ(refusal.what(), "Out of range: String offset out of range");
  }
  try {
    string.compare(8, 0xFFFFFFF8U, string.c_str(), 0);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const OutOfRange& refusal) {
    EXPECT_STREQ(refusal.what(), "Out of range");
  }
}

TEST(StringComparisonOfWideText, LettersBeyondAsciiKeepTheirCase) {
  EXPECT_NE(WString(L"\u00C9"), WString(L"\u00E9"));
  EXPECT_NE(Utf8String(L"\u00C9"), Utf8String(L"\u00E9"));
}

TEST(StringComparisonOfWideText, CharactersAreSigned32BitValues) {
  const wchar_t top[] = {static_cast<wchar_t>(0x80000000U), 0};
  EXPECT_LT(WString(top), WString(L"a"));
  EXPECT_LT(WString(top).exactCompare(L"a"), 0);
}

TEST(StringComparisonOfNarrowText, CharactersAreUnsignedBytes) {
  EXPECT_GT(String("\x80"), String("z"));
  EXPECT_GT(String("\x80").exactCompare("z"), 0);
  EXPECT_GT(CountedString("\x80"), CountedString("z"));
}

TEST(StringComparisonOfUtf8Text, LengthsAreDifferencesInBytes) {
  EXPECT_EQ(Utf8String(L"a\u00E9\u20AC").compare(Utf8String(L"a")), 5);
}

TEST(StringComparisonOfUtf8Text, BytesThatAreNotUtf8ThrowWhereTheComparisonMeetsThem) {
  const unsigned char bad[] = {'b', 0xFF, 0};
  const Utf8String broken(bad);
  EXPECT_THROW(broken.compare(Utf8String(L"bc")), InvalidSequence);
  EXPECT_THROW(broken.exactCompare(Utf8String(L"bc")), InvalidSequence);
  EXPECT_LT(Utf8String(L"ac").compare(broken), 0);
}

}  // namespace
