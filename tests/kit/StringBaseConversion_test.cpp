#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "kit/StringBase.h"
#include "tests/kit/AsciiText.h"

namespace {

using qv::kit::CountedString;
using qv::kit::String;
using qv::kit::Utf8String;
using qv::kit::WString;
using qv::tests::ToAscii;

// The locale is part of what is converted, and each test has a process of its own to set it in.
class StringConversion : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }
};

template <typename S>
std::string NarrowText(const S& string) {
  return {string.begin(), string.end()};
}

std::wstring Wide(const WString& string) {
  return {string.begin(), string.end()};
}

TEST_F(StringConversion, WideFromNarrowHasTheLengthProducedAndTheCapacityOfTheBound) {
  const WString string("\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(Wide(string), L"\u00E9t\u00E9");
  EXPECT_EQ(string.length(), 3U);
  EXPECT_EQ(string.capacity(), 5U);
  EXPECT_EQ(*string.end(), L'\0');
}

TEST_F(StringConversion, NarrowFromWideHasTheLengthProducedAndTheCapacityOfTheBound) {
  const String string(L"\u00E9t\u00E9");
  EXPECT_EQ(NarrowText(string), "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(string.capacity(), 12U);
  EXPECT_EQ(*string.end(), '\0');
  const CountedString counted(L"\u00E9t\u00E9");
  EXPECT_EQ(NarrowText(counted), "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(counted.capacity(), 12U);
}

TEST_F(StringConversion, Utf8FromWideHasExactlyTheCapacityItNeeds) {
  const Utf8String string(L"\u00E9\u20AC\U0001F6A2");
  EXPECT_EQ(NarrowText(string), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x9A\xA2");
  EXPECT_EQ(string.capacity(), 9U);
  EXPECT_EQ(*string.end(), 0);
}

TEST_F(StringConversion, Utf8FromWideWritesAQuestionMarkForWhatHasNoBytes) {
  const wchar_t text[] = {L'a', static_cast<wchar_t>(0x80000000U), L'b', 0};
  EXPECT_EQ(NarrowText(Utf8String(text)), "a?b");
}

TEST_F(StringConversion, InvalidNarrowBytesBecomeQuestionMarks) {
  EXPECT_EQ(Wide(WString("a\xFF\x62")), L"a?b");
}

TEST(StringConversionInTheCLocale, WhatTheEncodingDoesNotHaveBecomesAQuestionMark) {
  ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
  EXPECT_EQ(NarrowText(String(L"caf\u00E9")), "caf?");
  EXPECT_EQ(Wide(WString("caf\xC3\xA9")), L"caf??");
  EXPECT_EQ(NarrowText(Utf8String(L"caf\u00E9")), "caf\xC3\xA9");
}

TEST_F(StringConversion, ANullPointerOfTheOtherWidthIsEmpty) {
  const char* narrow = nullptr;
  const wchar_t* wide = nullptr;
  EXPECT_EQ(WString(narrow).capacity(), 0U);
  EXPECT_EQ(*WString(narrow).c_str(), L'\0');
  EXPECT_EQ(String(wide).capacity(), 0U);
  EXPECT_EQ(CountedString(wide).capacity(), 0U);
  EXPECT_EQ(Utf8String(wide).capacity(), 0U);
  WString string(L"a");
  string.append(narrow);
  EXPECT_EQ(ToAscii(string), "a");
  string = narrow;
  EXPECT_TRUE(string.empty());
}

TEST_F(StringConversion, EmptyTextOfTheOtherWidthGivesTheSlotOfTheTerminatorOnly) {
  EXPECT_EQ(WString("").capacity(), 0U);
  EXPECT_EQ(String(L"").capacity(), 0U);
  EXPECT_EQ(CountedString(L"").capacity(), 0U);
  EXPECT_EQ(Utf8String(L"").capacity(), 0U);
}

TEST_F(StringConversion, TextOfTheOtherWidthIsAssignedAppendedAndAdded) {
  WString wide(L"a");
  wide = "b\xC3\xA9";
  wide.append("c");
  wide += "d";
  EXPECT_EQ(Wide(wide + "e"),
            L"b\u00E9"
            L"cde");
  String narrow("a");
  narrow = L"b\u00E9";
  narrow.append(L"c");
  narrow += L"d";
  EXPECT_EQ(NarrowText(narrow + L"e"),
            "b\xC3\xA9"
            "cde");
  Utf8String utf8;
  utf8 = L"b\u00E9";
  utf8.append(L"c");
  utf8 += L"d";
  EXPECT_EQ(NarrowText(utf8 + L"e"),
            "b\xC3\xA9"
            "cde");
  CountedString counted;
  counted = L"b\u00E9";
  counted.append(L"c");
  counted += L"d";
  EXPECT_EQ(NarrowText(counted + L"e"),
            "b\xC3\xA9"
            "cde");
}

TEST_F(StringConversion, StringsOfTheOtherWidthAreConvertedWithTheirZeros) {
  const WString wide(L"a\0\u00E9", 3);
  EXPECT_EQ(NarrowText(String(wide)), std::string("a\0\xC3\xA9", 4));
  EXPECT_EQ(NarrowText(CountedString(wide)), std::string("a\0\xC3\xA9", 4));
  EXPECT_EQ(NarrowText(Utf8String(wide)), std::string("a\0\xC3\xA9", 4));
  EXPECT_EQ(Wide(WString(String("a\0\xC3\xA9", 4))), std::wstring(L"a\0\u00E9", 3));
  EXPECT_EQ(Wide(WString(CountedString("a\0\xC3\xA9", 4))), std::wstring(L"a\0\u00E9", 3));
}

TEST_F(StringConversion, StringsOfTheOtherWidthAreAssigned) {
  WString wide;
  wide = String("b\xC3\xA9");
  EXPECT_EQ(Wide(wide), L"b\u00E9");
  wide = CountedString("\xC3\xA9");
  EXPECT_EQ(Wide(wide), L"\u00E9");
  String narrow;
  narrow = wide;
  EXPECT_EQ(NarrowText(narrow), "\xC3\xA9");
  Utf8String utf8;
  utf8 = wide;
  EXPECT_EQ(NarrowText(utf8), "\xC3\xA9");
}

TEST_F(StringConversion, APointerAndAStringOfAnotherFormAreJoined) {
  EXPECT_EQ(NarrowText(String("path: ", WString(L"/\u00E9"))), "path: /\xC3\xA9");
  EXPECT_EQ(NarrowText(CountedString("path: ", String("/a"))), "path: /a");
  EXPECT_EQ(NarrowText(String("path: ", CountedString("/a"))), "path: /a");
  EXPECT_EQ(NarrowText(String("path: ", String("/a"))), "path: /a");
  EXPECT_EQ(Wide(WString(L"path: ", String("/\xC3\xA9"))), L"path: /\u00E9");
  const unsigned char prefix[] = {'>', 0};
  EXPECT_EQ(NarrowText(Utf8String(prefix, WString(L"\u00E9"))), ">\xC3\xA9");
  const char* null = nullptr;
  EXPECT_EQ(NarrowText(String(null, WString(L"a"))), "a");
}

TEST_F(StringConversion, ConvertedTextGrowsFromItsBound) {
  WString string("\xC3\xA9t\xC3\xA9");
  string += L"!?";
  EXPECT_EQ(string.capacity(), 5U);
  EXPECT_EQ(Wide(string), L"\u00E9t\u00E9!?");
  string += L'.';
  EXPECT_EQ(string.capacity(), 12U);
}

}  // namespace
