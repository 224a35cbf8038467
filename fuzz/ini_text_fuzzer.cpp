#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "fuzz/RunOneOf.h"
#include "qvini/escapes.h"
#include "qvini/numbers.h"
#include "qvini/qvini.h"
#include "qvini/toolbox.h"
#include "tests/qvini/property/Document.h"
#include "tests/reference/IniTextReference.h"

// Values of INI items: escapes, numbers and truth values, by themselves and through a document,
// and strings through the lines of a file that is never one.

namespace {

using qv::fuzz::Input;
using qv::tests::Document;
using qv::tests::IniReference;

/// The next text, without the NUL that would end it.
std::string TextOf(Input& input) {
  std::string text = input.rest();
  return text.substr(0, text.find('\0'));
}

void CheckEscapes(Input& input) {
  const std::string text = TextOf(input);
  char* const escaped = qvini_Escape(text.c_str());
  ASSERT_NE(escaped, nullptr);
  EXPECT_STREQ(escaped, qv::tests::EscapedReference(text).c_str());
  std::vector<char> back(std::strlen(escaped) + 1, '?');
  qvini_Unescape(escaped, back.data());
  std::free(escaped);
  EXPECT_EQ(back.data(), text);

  std::string expected = qv::tests::UnescapedReference(text);
  std::vector<char> unescaped(text.size() + 1, '?');
  qvini_Unescape(text.c_str(), unescaped.data());
  ASSERT_LE(expected.size(), text.size());
  EXPECT_EQ(std::string(unescaped.data(), expected.size()), expected);
  EXPECT_EQ(unescaped[expected.size()], '\0');
}

bool Same(double a, double b) {
  return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof(a)) == 0;
}

void CheckNumberTexts(const std::string& text) {
  const auto decimal = qv::tests::ReadDecimalReference(text);
  unsigned magnitude = 77;
  int isNegative = 88;
  EXPECT_EQ(ConvertNumStrToUint(text.c_str(), &magnitude, &isNegative), decimal ? 1 : 0);
  EXPECT_EQ(magnitude, decimal ? std::abs(decimal->value) : 77);
  EXPECT_EQ(isNegative, decimal ? (decimal->hasMinus ? 1 : 0) : 88);

  const bool isInt = decimal && decimal->value >= INT_MIN && decimal->value <= INT_MAX;
  int integer = 77;
  EXPECT_EQ(qvini_StrToInt(text.c_str(), &integer), isInt ? 1 : kIniNotAnInt);
  EXPECT_EQ(integer, isInt ? decimal->value : 77);

  const bool isUnsigned = decimal && !decimal->hasMinus;
  unsigned natural = 77;
  EXPECT_EQ(qvini_StrToUInt(text.c_str(), &natural), isUnsigned ? 1 : kIniNotAnUnsigned);
  EXPECT_EQ(natural, isUnsigned ? decimal->value : 77);

  const auto real = qv::tests::ReadDoubleReference(text);
  double number = 77;
  EXPECT_EQ(qvini_StrToDouble(text.c_str(), &number), real ? 1 : kIniNotADouble);
  EXPECT_TRUE(Same(number, real.value_or(77))) << number;

  const auto truth = qv::tests::ReadBooleanReference(text);
  int boolean = 77;
  EXPECT_EQ(qvini_StrToBoolean(text.c_str(), &boolean), truth ? 1 : kIniNotABoolean);
  EXPECT_EQ(boolean, truth ? (*truth ? 1 : 0) : 77);
}

/// The same through a document, which trims the text and calls a blank one missing.
void CheckTypedGets(const std::string& text) {
  const Document document;
  ASSERT_EQ(document.put("s", "k", text, kIniUnquoted), 1);
  const std::string value = IniReference::Trimmed(text);
  int integer = 77;
  int expectedInteger = 77;
  const int isInteger = value.empty() ? 0 : qvini_StrToInt(value.c_str(), &expectedInteger);
  EXPECT_EQ(IniGetInt(document.get(), "s", "k", &integer), isInteger);
  EXPECT_EQ(integer, expectedInteger);
  unsigned natural = 77;
  unsigned expectedNatural = 77;
  const int isNatural = value.empty() ? 0 : qvini_StrToUInt(value.c_str(), &expectedNatural);
  EXPECT_EQ(IniGetUInt(document.get(), "s", "k", &natural), isNatural);
  EXPECT_EQ(natural, expectedNatural);
  double number = 77;
  double expectedNumber = 77;
  const int isNumber = value.empty() ? 0 : qvini_StrToDouble(value.c_str(), &expectedNumber);
  EXPECT_EQ(IniGetDouble(document.get(), "s", "k", &number), isNumber);
  EXPECT_TRUE(Same(number, expectedNumber)) << number;
  int boolean = 77;
  int expectedBoolean = 77;
  const int isBoolean = value.empty() ? 0 : qvini_StrToBoolean(value.c_str(), &expectedBoolean);
  EXPECT_EQ(IniGetBoolean(document.get(), "s", "k", &boolean), isBoolean);
  EXPECT_EQ(boolean, expectedBoolean);

  const char* found = "";
  const int isThere = value.empty() ? 0 : 1;
  EXPECT_EQ(IniGetPointerToRawString(document.get(), "s", "k", &found), isThere);
  EXPECT_EQ(found, value);
  EXPECT_EQ(IniGetPointerToString(document.get(), "s", "k", &found), isThere);
  EXPECT_STREQ(found, qv::tests::UnescapedReference(value).c_str());
}

void CheckNumbers(Input& input) {
  const std::string text = TextOf(input);
  CheckNumberTexts(text);
  CheckTypedGets(text);
}

void CheckTypedPuts(Input& input) {
  const Document document;
  std::uint64_t bits = 0;
  for (int byte = 0; byte < 8; ++byte)
    bits = bits << 8U | input.byte();
  const int integer = static_cast<int>(bits);
  const auto natural = static_cast<unsigned>(bits);
  EXPECT_EQ(IniPutInt(document.get(), "s", "int", integer), 1);
  EXPECT_EQ(IniPutUInt(document.get(), "s", "uint", natural), 1);
  int integerBack = 77;
  unsigned naturalBack = 77;
  EXPECT_EQ(IniGetInt(document.get(), "s", "int", &integerBack), 1);
  EXPECT_EQ(IniGetUInt(document.get(), "s", "uint", &naturalBack), 1);
  EXPECT_EQ(integerBack, integer);
  EXPECT_EQ(naturalBack, natural);

  double real = 0;
  std::memcpy(&real, &bits, sizeof(real));
  char text[kDoubleTextSize];
  std::snprintf(text, sizeof(text), "%.14e", real);
  EXPECT_EQ(IniPutDouble(document.get(), "s", "double", real), 1);
  EXPECT_EQ(document.value("s", "double"), text);
  // The largest and the smallest doubles have texts that are none.
  const auto expected = qv::tests::ReadDoubleReference(text);
  double realBack = 77;
  EXPECT_EQ(IniGetDouble(document.get(), "s", "double", &realBack), expected ? 1 : kIniNotADouble);
  EXPECT_TRUE(Same(realBack, expected.value_or(77))) << realBack;
  const bool isNear = std::abs(realBack - real) <= std::abs(real) * 1e-14;
  EXPECT_TRUE(isNear || !expected || !std::isfinite(real)) << realBack;
}

/// The lines of a document in memory, given out in parts of any size that a buffer may have.
struct Lines {
  static int Take(void* sink, const char* line) {
    static_cast<Lines*>(sink)->lines.emplace_back(line);
    return 0;
  }
  static int Give(void* source, char* buffer, std::size_t size) {
    Lines& self = *static_cast<Lines*>(source);
    if (self.next == self.lines.size()) return kIniInputEnd;
    std::string& line = self.lines[self.next];
    const std::size_t length = std::min(line.size(), size - 1);
    std::memcpy(buffer, line.data(), length);
    buffer[length] = '\0';
    line.erase(0, length);
    if (!line.empty()) return kIniInputPart;
    ++self.next;
    return kIniInputLine;
  }

  std::vector<std::string> lines;
  std::size_t next = 0;
};

void CheckStrings(Input& input) {
  const Document document;
  document->maxLineLength = 16 + input.below(80);
  const std::string text = TextOf(input);
  ASSERT_EQ(IniPutString(document.get(), "s", "k", text.c_str()), 1);
  Lines lines;
  ASSERT_EQ(IniWrite(document.get(), &Lines::Take, &lines), 0);
  const Document back;
  ASSERT_EQ(IniRead(back.get(), &Lines::Give, &lines), 0);
  EXPECT_EQ(back->firstBadLine, kIniNoLine);

  // Other white space has escapes, which nothing trims.
  std::string expected = text;
  expected.erase(0, expected.find_first_not_of(' '));
  expected.erase(expected.find_last_not_of(' ') + 1);
  for (const Document* each : {&document, &back}) {
    const char* found = "";
    EXPECT_EQ(IniGetPointerToString(each->get(), "s", "k", &found), expected.empty() ? 0 : 1);
    EXPECT_EQ(found, expected);
  }
}

constexpr qv::fuzz::Check kItemChecks[] = {&CheckEscapes, &CheckNumbers, &CheckTypedPuts,
                                           &CheckStrings};

}  // namespace

extern "C" int QV_FUZZER(ini_text)(const std::uint8_t* data, std::size_t size) {
  qv::fuzz::RunOneOf(kItemChecks, data, size);
  return 0;
}
