#include "qvini/toolbox.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/ScopedLocale.h"
#include "tests/TestLocale.h"

namespace {

using qv::tests::UseTestLocales;

std::string Duplicate(const char* text) {
  char* const copy = qvini_StrDupWithoutSurrWhiteSpace(text);
  const std::string result = copy;
  std::free(copy);
  return result;
}

TEST(IsBlank, KnowsTheSixCharactersOfTheCLocaleAndNoOthers) {
  for (int c = -128; c < 128; ++c) {
    const bool expected = c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
    EXPECT_EQ(qvini_IsBlank(static_cast<char>(c)) != 0, expected) << c;
  }
}

TEST(IsControl, TakesDelForOneAndNoByteAboveIt) {
  for (int c = -128; c < 128; ++c)
    EXPECT_EQ(qvini_IsControl(static_cast<char>(c)) != 0, (c >= 0 && c < 32) || c == 127) << c;
}

TEST(LowerCase, ChangesTheCapitalsOfAsciiAlone) {
  for (int c = -128; c < 128; ++c) {
    const int expected = c >= 'A' && c <= 'Z' ? c + 32 : c;
    EXPECT_EQ(qvini_LowerCase(static_cast<char>(c)), static_cast<char>(expected)) << c;
  }
}

TEST(StrDupWithoutSurrWhiteSpace, CutsBothEndsAndKeepsTheMiddle) {
  EXPECT_EQ(Duplicate(" \t\n\v\f\ra \t b\r\n"), "a \t b");
  EXPECT_EQ(Duplicate("ab"), "ab");
  EXPECT_EQ(Duplicate("\xa0"
                      "a\x85"),
            "\xa0"
            "a\x85");
}

TEST(StrDupWithoutSurrWhiteSpace, MakesAnEmptyTextOfBlanksAndOfNull) {
  EXPECT_EQ(Duplicate(" \t "), "");
  EXPECT_EQ(Duplicate(""), "");
  EXPECT_EQ(Duplicate(nullptr), "");
}

TEST(StrICmpWithoutSurrWhiteSpace, IgnoresCaseAndWhiteSpaceAroundBoth) {
  EXPECT_EQ(qvini_StrICmpWithoutSurrWhiteSpace(" Straße\t", "STRAßE"), 0);
  EXPECT_EQ(qvini_StrICmpWithoutSurrWhiteSpace("a b", "A B\r\n"), 0);
  EXPECT_EQ(qvini_StrICmpWithoutSurrWhiteSpace(" ", nullptr), 0);
  EXPECT_NE(qvini_StrICmpWithoutSurrWhiteSpace("a  b", "a b"), 0);
}

TEST(StrICmpWithoutSurrWhiteSpace, OrdersAsStrcmpDoes) {
  EXPECT_LT(qvini_StrICmpWithoutSurrWhiteSpace("a", "B"), 0);
  EXPECT_GT(qvini_StrICmpWithoutSurrWhiteSpace("b", "A"), 0);
  EXPECT_LT(qvini_StrICmpWithoutSurrWhiteSpace("ab", "abc"), 0);
  EXPECT_GT(qvini_StrICmpWithoutSurrWhiteSpace("abc", "AB"), 0);
  EXPECT_LT(qvini_StrICmpWithoutSurrWhiteSpace("", "a"), 0);
  EXPECT_LT(qvini_StrICmpWithoutSurrWhiteSpace("z", "\x80"), 0);
}

TEST(StrICmpWithoutSurrWhiteSpace, KnowsNoLettersOfTheLocale) {
  UseTestLocales();
  const ScopedLocale german("de_DE.ISO-8859-1");
  ASSERT_EQ(std::tolower(0xc4), 0xe4);
  EXPECT_NE(qvini_StrICmpWithoutSurrWhiteSpace("\xc4", "\xe4"), 0);
}

TEST(EqualRanges, CompareLengthsFirst) {
  EXPECT_TRUE(qvini_EqualExactly(qvini_Whole("aB"), qvini_Whole("aB")));
  EXPECT_FALSE(qvini_EqualExactly(qvini_Whole("aB"), qvini_Whole("ab")));
  EXPECT_FALSE(qvini_EqualExactly(qvini_Whole("aB"), qvini_Whole("aBc")));
  EXPECT_TRUE(qvini_EqualExactly(qvini_Whole(nullptr), qvini_Whole("")));
  EXPECT_TRUE(qvini_EqualInAnyCase(qvini_Whole("aB"), qvini_Whole("Ab")));
  EXPECT_FALSE(qvini_EqualInAnyCase(qvini_Whole("aB"), qvini_Whole("Abc")));
  EXPECT_FALSE(qvini_EqualInAnyCase(qvini_Whole("a["), qvini_Whole("a{")));
}

}  // namespace
