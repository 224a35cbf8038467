#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "qvini/qvini.h"
#include "tests/ScopedLocale.h"
#include "tests/TestLocale.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TestDocument;
using qv::tests::UseTestLocales;
using Texts = std::vector<std::string>;

std::string RawString(const TestDocument& document, const char* key) {
  const char* value = nullptr;
  EXPECT_EQ(IniGetPointerToRawString(document, "s", key, &value), 1) << key;
  return value;
}

std::string String(const TestDocument& document, const char* key) {
  const char* value = nullptr;
  EXPECT_EQ(IniGetPointerToString(document, "s", key, &value), 1) << key;
  return value;
}

TEST(TypedPuts, WriteNumbersAndBooleansUnquoted) {
  const TestDocument document;
  EXPECT_EQ(IniPutInt(document, "s", "smallest", INT_MIN), 1);
  EXPECT_EQ(IniPutInt(document, "s", "largest", INT_MAX), 1);
  EXPECT_EQ(IniPutUInt(document, "s", "unsigned", UINT_MAX), 1);
  EXPECT_EQ(IniPutDouble(document, "s", "double", -0.1), 1);
  EXPECT_EQ(IniPutBoolean(document, "s", "yes", 7), 1);
  EXPECT_EQ(IniPutBoolean(document, "s", "no", 0), 1);
  EXPECT_EQ(document.lines(),
            (Texts{"[s]", "smallest = -2147483648", "largest = 2147483647", "unsigned = 4294967295",
                   "double = -1.00000000000000e-01", "yes = True", "no = False", ""}));
}

TEST(TypedPuts, WriteAPointWhateverTheLocale) {
  UseTestLocales();
  const ScopedLocale german("de_DE.ISO-8859-1");
  const TestDocument document;
  EXPECT_EQ(IniPutDouble(document, "s", "k", 1.5), 1);
  EXPECT_EQ(document.value("s", "k"), "1.50000000000000e+00");
  double value = 0;
  EXPECT_EQ(IniGetDouble(document, "s", "k", &value), 1);
  EXPECT_EQ(value, 1.5);
}

TEST(TypedPuts, ReplaceAValueAndItsQuotes) {
  const TestDocument document({"[s]", "k = \"text\""});
  EXPECT_EQ(IniPutInt(document, "s", "k", 5), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = 5", ""}));
  EXPECT_EQ(IniPutRawString(document, "s", "k", "6"), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = \"6\"", ""}));
}

TEST(TypedPuts, RefuseEmptyNames) {
  const TestDocument document;
  EXPECT_EQ(IniPutInt(document, "", "k", 1), -6);
  EXPECT_EQ(IniPutUInt(document, "s", " ", 1), -6);
  EXPECT_EQ(IniPutDouble(document, "s", "", 1), -6);
  EXPECT_EQ(IniPutBoolean(document, " ", "k", 1), -6);
  EXPECT_EQ(IniPutString(document, "", "k", "v"), -6);
  EXPECT_EQ(IniPutRawString(document, "s", "", "v"), -6);
}

TEST(IniPutStringWithOptions, QuotesAndEscapesAsAsked) {
  const TestDocument document;
  EXPECT_EQ(IniPutStringWithOptions(document, "s", "a", "1\t2", 0, 0), 1);
  EXPECT_EQ(IniPutStringWithOptions(document, "s", "b", "1\t2", 1, 0), 1);
  EXPECT_EQ(IniPutStringWithOptions(document, "s", "c", "1\t2", 0, 1), 1);
  EXPECT_EQ(IniPutStringWithOptions(document, "s", "d", "1\t2", 1, 1), 1);
  EXPECT_EQ(IniPutString(document, "s", "e", "1\t2"), 1);
  EXPECT_EQ(IniPutRawString(document, "s", "f", "1\t2"), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "a = 1\t2", "b = \"1\t2\"", R"(c = 1\t2)",
                                     R"(d = "1\t2")", R"(e = "1\t2")", "f = \"1\t2\"", ""}));
}

TEST(IniPutStringWithOptions, TakesNullForAnEmptyString) {
  const TestDocument document;
  EXPECT_EQ(IniPutStringWithOptions(document, "s", "a", nullptr, 0, 0), 1);
  EXPECT_EQ(IniPutString(document, "s", "b", nullptr), 1);
  EXPECT_EQ(IniPutRawString(document, "s", "c", nullptr), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "a = ", "b = \"\"", "c = \"\"", ""}));
}

TEST(Strings, ComeBackAsTheyWerePut) {
  const TestDocument document;
  const std::string text = "tab\there, line\nthere, back\\slash and \"quotes\"";
  EXPECT_EQ(IniPutString(document, "s", "k", text.c_str()), 1);
  document->maxLineLength = kIniNoLineLimit;
  EXPECT_EQ(document.lines(),
            (Texts{"[s]", R"(k = "tab\there, line\nthere, back\\slash and \"quotes\"")", ""}));
  EXPECT_EQ(String(document, "k"), text);
}

TEST(Strings, KeepTabsAndLineFeedsAtTheirEndsWhenEscaped) {
  const TestDocument document;
  EXPECT_EQ(IniPutString(document, "s", "k", "\t\n text \r\n"), 1);
  EXPECT_EQ(document.value("s", "k"), R"(\t\n text \x0d\n)");
  EXPECT_EQ(String(document, "k"), "\t\n text \r\n");
}

TEST(Strings, LoseBlanksAtTheirEnds) {
  const TestDocument document;
  EXPECT_EQ(IniPutString(document, "s", "k", "  text "), 1);
  EXPECT_EQ(String(document, "k"), "text");
}

TEST(Strings, AreGivenRawOrUnescaped) {
  const TestDocument document({"[s]", R"(k = "a\tb\\")"});
  EXPECT_EQ(RawString(document, "k"), R"(a\tb\\)");
  EXPECT_EQ(String(document, "k"), "a\tb\\");
}

TEST(Strings, OfAMegabyteComeBack) {
  const TestDocument document;
  std::string text(1 << 20, '\n');
  text[1000] = 'x';
  EXPECT_EQ(IniPutString(document, "s", "k", text.c_str()), 1);
  EXPECT_EQ(document.value("s", "k").size(), 2 * text.size() - 1);
  EXPECT_EQ(String(document, "k"), text);
}

TEST(Strings, StayInTheCacheUntilTheNextStringGetter) {
  const TestDocument document({"[s]", "a = 1", "b = 2"});
  const char* value = nullptr;
  ASSERT_EQ(IniGetPointerToString(document, "s", "a", &value), 1);
  IniPutRawString(document, "s", "a", "other");
  IniGet(document, "s", "b", nullptr);
  EXPECT_STREQ(value, "1");
  ASSERT_EQ(IniGetPointerToString(document, "s", "b", nullptr), 1);
  EXPECT_STREQ(document->stringCache.bytes, "2");
}

TEST(Strings, MayBeLookedUpByNamesInTheCache) {
  const TestDocument document({"[s]", "name = value", "value = found"});
  const char* value = nullptr;
  ASSERT_EQ(IniGetPointerToString(document, "s", "name", &value), 1);
  ASSERT_EQ(IniGetPointerToString(document, "s", value, &value), 1);
  EXPECT_STREQ(value, "found");
}

// All typed gets give the same result for an item without a value.
void ExpectNothing(const TestDocument& document, const char* section, const char* key) {
  int number = 1;
  unsigned natural = 2;
  double real = 3;
  const char* text = "untouched";
  EXPECT_EQ(IniGetInt(document, section, key, &number), 0);
  EXPECT_EQ(IniGetBoolean(document, section, key, &number), 0);
  EXPECT_EQ(IniGetUInt(document, section, key, &natural), 0);
  EXPECT_EQ(IniGetDouble(document, section, key, &real), 0);
  EXPECT_EQ(IniGetPointerToRawString(document, section, key, &text), 0);
  EXPECT_EQ(IniGetPointerToString(document, section, key, &text), 0);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(natural, 2U);
  EXPECT_EQ(real, 3);
  EXPECT_STREQ(text, "untouched");
}

TEST(TypedGets, GiveZeroForWhatIsMissing) {
  const TestDocument document({"[s]", "k = v"});
  ExpectNothing(document, "s", "x");
  ExpectNothing(document, "x", "k");
  ExpectNothing(document, nullptr, nullptr);
}

TEST(TypedGets, GiveZeroForABlankValue) {
  const TestDocument document;
  document->readFlags = 3;
  document.read({"[s]", "empty =", "quoted = \"\"", "blank = \" \t \""});
  ExpectNothing(document, "s", "empty");
  ExpectNothing(document, "s", "quoted");
  ExpectNothing(document, "s", "blank");
  EXPECT_EQ(document->lastLine, 4) << "the item was found all the same";
}

TEST(TypedGets, ParseTheValue) {
  const TestDocument document(
      {"[s]", "int = -5", "uint = 4294967295", "double = 2.5", "bool = tRuE", "quoted = \" 7 \""});
  int number = 0;
  unsigned natural = 0;
  double real = 0;
  EXPECT_EQ(IniGetInt(document, "s", "int", &number), 1);
  EXPECT_EQ(number, -5);
  EXPECT_EQ(document->lastLine, 2);
  EXPECT_EQ(IniGetUInt(document, "s", "uint", &natural), 1);
  EXPECT_EQ(natural, UINT_MAX);
  EXPECT_EQ(document->lastLine, 3);
  EXPECT_EQ(IniGetDouble(document, "s", "double", &real), 1);
  EXPECT_EQ(real, 2.5);
  EXPECT_EQ(document->lastLine, 4);
  EXPECT_EQ(IniGetBoolean(document, "s", "bool", &number), 1);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(document->lastLine, 5);
  EXPECT_EQ(IniGetInt(document, "s", "quoted", &number), 1);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(document->lastLine, 6);
}

TEST(TypedGets, SetTheLastLineEvenWhenTheyCannotParse) {
  const TestDocument document({"[s]", "", "k = word"});
  int number = 1;
  unsigned natural = 2;
  double real = 3;
  EXPECT_EQ(IniGetInt(document, "s", "k", &number), -5021);
  EXPECT_EQ(document->lastLine, 3);
  EXPECT_EQ(IniGetUInt(document, "s", "k", &natural), -5022);
  EXPECT_EQ(IniGetDouble(document, "s", "k", &real), -5023);
  EXPECT_EQ(IniGetBoolean(document, "s", "k", &number), -5024);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(natural, 2U);
  EXPECT_EQ(real, 3);
}

TEST(TypedGets, RefuseNumbersOutOfRange) {
  const TestDocument document(
      {"[s]", "big = 4294967296", "minus = -5", "huge = 1e400", "inf = inf"});
  int number = 0;
  unsigned natural = 0;
  double real = 0;
  EXPECT_EQ(IniGetUInt(document, "s", "big", &natural), -5022);
  EXPECT_EQ(IniGetInt(document, "s", "big", &number), -5021);
  EXPECT_EQ(IniGetUInt(document, "s", "minus", &natural), -5022);
  EXPECT_EQ(IniGetDouble(document, "s", "huge", &real), -5023);
  EXPECT_EQ(IniGetDouble(document, "s", "inf", &real), 1);
  EXPECT_EQ(real, std::numeric_limits<double>::infinity());
}

TEST(TypedGets, AllowNullForTheResult) {
  const TestDocument document({"[s]", "number = 1", "bool = True"});
  EXPECT_EQ(IniGetInt(document, "s", "number", nullptr), 1);
  EXPECT_EQ(IniGetUInt(document, "s", "number", nullptr), 1);
  EXPECT_EQ(IniGetDouble(document, "s", "number", nullptr), 1);
  EXPECT_EQ(IniGetBoolean(document, "s", "bool", nullptr), 1);
  EXPECT_EQ(IniGetPointerToRawString(document, "s", "number", nullptr), 1);
  EXPECT_EQ(IniGetPointerToString(document, "s", "number", nullptr), 1);
}

TEST(Doubles, ComeBackWithFifteenDigits) {
  const TestDocument document;
  for (const double value : {0.0, 1.0 / 3.0, -1e300, 1e-300, 123456789.0}) {
    EXPECT_EQ(IniPutDouble(document, "s", "k", value), 1);
    double read = -1;
    EXPECT_EQ(IniGetDouble(document, "s", "k", &read), 1);
    EXPECT_NEAR(read, value, std::fabs(value) * 1e-14);
  }
}

TEST(Doubles, OfTheEdgesComeBackOrAreRefused) {
  const TestDocument document;
  double read = 0;
  IniPutDouble(document, "s", "inf", -std::numeric_limits<double>::infinity());
  EXPECT_EQ(IniGetDouble(document, "s", "inf", &read), 1);
  EXPECT_EQ(read, -std::numeric_limits<double>::infinity());
  IniPutDouble(document, "s", "nan", std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(IniGetDouble(document, "s", "nan", &read), 1);
  EXPECT_TRUE(std::isnan(read));
  IniPutDouble(document, "s", "tiny", std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(IniGetDouble(document, "s", "tiny", &read), -5023);
  IniPutDouble(document, "s", "huge", std::numeric_limits<double>::max());
  EXPECT_EQ(document.value("s", "huge"), "1.79769313486232e+308");
  EXPECT_EQ(IniGetDouble(document, "s", "huge", &read), -5023) << "rounded up out of range";
}

}  // namespace
