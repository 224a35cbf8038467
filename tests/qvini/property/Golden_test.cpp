#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "qvini/qvini.h"
#include "tests/qvini/property/Document.h"
#include "tests/reference/IniReference.h"

using qv::tests::Document;
using qv::tests::IniReference;

namespace {

/// A text with its special bytes spelled out, line by line.
std::vector<std::string> Shown(const std::string& text) {
  std::vector<std::string> lines(1);
  for (const char character : text) {
    if (character == '\n') {
      lines.emplace_back();
    } else if (character < ' ' || character == '\x7F') {
      lines.back() += "<" + std::to_string(static_cast<unsigned char>(character)) + ">";
    } else {
      lines.back() += character;
    }
  }
  return lines;
}

/// The lines in which two texts differ, from the first to the last of them.
std::string Difference(const std::string& expected, const std::string& written) {
  std::vector<std::string> left = Shown(expected);
  std::vector<std::string> right = Shown(written);
  std::size_t first = 0;
  while (first < left.size() && first < right.size() && left[first] == right[first])
    ++first;
  while (left.size() > first && right.size() > first && left.back() == right.back()) {
    left.pop_back();
    right.pop_back();
  }
  std::string difference = "from line " + std::to_string(first + 1) + "\n";
  for (std::size_t line = first; line < left.size(); ++line)
    difference += "- " + left[line] + "\n";
  for (std::size_t line = first; line < right.size(); ++line)
    difference += "+ " + right[line] + "\n";
  return difference;
}

testing::AssertionResult IsGolden(const std::string& name, const std::string& written) {
  std::ifstream file(std::string(QV_INI_GOLDEN_DIRECTORY) + "/" + name, std::ios::binary);
  if (!file) return testing::AssertionFailure() << "no file " << name;
  const std::string expected(std::istreambuf_iterator<char>(file), {});
  if (expected == written) return testing::AssertionSuccess();
  return testing::AssertionFailure() << name << " differs " << Difference(expected, written);
}

/// A value in which every byte shows its place: "0123456789abcdef..." over and over.
std::string Ruler(std::size_t length) {
  const std::string digits = "0123456789abcdefghijklmnopqrstuvwxyz";
  std::string text;
  while (text.size() < length)
    text += digits[text.size() % digits.size()];
  return text;
}

void PutRulers(const Document& document, char quote, const std::vector<std::size_t>& lengths) {
  for (const std::size_t length : lengths) {
    const std::string key = "N" + std::to_string(1000 + length).substr(1);
    ASSERT_EQ(document.put("Values", key, Ruler(length), quote), 1);
  }
}

}  // namespace

TEST(Golden, DefaultsWriteBlanksAroundTheEqualsSignAndAnEmptyLineAfterEachSection) {
  const Document document;
  IniPutInt(document.get(), "Server", "Port", -8080);
  IniPutUInt(document.get(), "Server", "Limit", 4294967295U);
  IniPutDouble(document.get(), "Server", "Ratio", 0.1);
  IniPutBoolean(document.get(), "Server", "Enabled", 1);
  IniPutBoolean(document.get(), "Server", "Verbose", 0);
  IniPutString(document.get(), "Paths", "Root", "/var/lib");
  document.put("Paths", "Plain", "two words", kIniUnquoted);
  document.put("Paths", "Single", "it", kIniSingleQuote);
  IniPutInt(document.get(), "Server", "Last", 0);
  EXPECT_TRUE(IsGolden("defaults.ini", document.written()));
}

TEST(Golden, UnquotedValuesWrapAtEveryBoundaryOfTheDefaultLineLength) {
  const Document document;
  PutRulers(document, kIniUnquoted, {0, 1, 72, 73, 74, 128, 129, 192, 193, 200});
  EXPECT_TRUE(IsGolden("wrapped.ini", document.written()));
}

TEST(Golden, QuotedValuesWrapAtEveryBoundaryOfTheDefaultLineLength) {
  const Document document;
  PutRulers(document, kIniDoubleQuote, {0, 1, 70, 71, 72, 124, 125, 186, 187});
  EXPECT_TRUE(IsGolden("wrapped_quoted.ini", document.written()));
}

TEST(Golden, NarrowLinesHoldOneByteEachAndTheRoomIsThatOfBlanksWithoutThemToo) {
  const Document document;
  document->maxLineLength = 17;
  document->writeFlags = kIniWriteSafely;
  PutRulers(document, kIniUnquoted, {12, 13, 14});
  document.put("Values", "K", Ruler(16), kIniSingleQuote);
  EXPECT_TRUE(IsGolden("narrow.ini", document.written()));
}

TEST(Golden, BreakCharactersEndThePiecesAndARestThatFitsGoesWhole) {
  const Document document;
  document->maxLineLength = 30;
  document->wrapBreakChar = ',';
  document.put("Lists", "K", "a,b,c", kIniUnquoted);
  document.put("Lists", "L", "one,two,three,four,five,six,seven", kIniUnquoted);
  document.put("Lists", "M", "one,two,three,four,five,six,seven", kIniDoubleQuote);
  document.put("Lists", "N", "0123456789abcdef,0123456789abcdefg", kIniUnquoted);
  document.put("Lists", "O", ",,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,", kIniUnquoted);
  EXPECT_TRUE(IsGolden("break_character.ini", document.written()));
}

TEST(Golden, QuotesAreWrittenAsTheyWereRead) {
  const Document document;
  document->readFlags = kIniReadDoubleQuotes | kIniReadSingleQuotes | kIniReadEmptyValues;
  ASSERT_EQ(document.read("[Quotes]\n"
                          "none=word\n"
                          "double=\"word\"\n"
                          "single='word'\n"
                          "blanks=\" word \"\n"
                          "both=\"'word'\"\n"
                          "twice=\"\"word\"\"\n"
                          "half=\"word\n"
                          "mixed=\"word'\n"
                          "empty=\"\"\n"
                          "nothing=\n"
                          "lone=\"\n"
                          "inner=a\"b\"c\n"),
            0);
  EXPECT_TRUE(IsGolden("quotes.ini", document.written()));
}

TEST(Golden, EscapesAreThoseOfTheEscapedPuts) {
  const Document document;
  std::string controls;
  for (char character = 1; character < ' '; ++character)
    controls += character;
  document->maxLineLength = kIniNoLineLimit;
  IniPutString(document.get(), "Escapes", "controls", (controls + "\x7F").c_str());
  IniPutString(document.get(), "Escapes", "marks", "\"quoted\" 'single' back\\slash ; = [ ]");
  IniPutString(document.get(), "Escapes", "text", "line\nline\ttab");
  IniPutString(document.get(), "Escapes", "beyond", "\xC3\xA4\x80\xFF");
  IniPutString(document.get(), "Escapes", "ends", "\n v \t");
  IniPutStringWithOptions(document.get(), "Escapes", "unquoted", "a\tb", 0, 1);
  IniPutStringWithOptions(document.get(), "Escapes", "raw", "a\tb\\", 0, 0);
  IniPutStringWithOptions(document.get(), "Escapes", "null", nullptr, 1, 1);
  EXPECT_TRUE(IsGolden("escapes.ini", document.written()));
}

TEST(Golden, AByteOrderMarkComesFirstAndTheNamelessSectionHasNoHeader) {
  const Document document;
  document->writeFlags = kIniWriteByteOrderMark;
  document->readFlags = kIniReadColons;
  ASSERT_EQ(document.read("\xEF\xBB\xBF"
                          "early: 1\nworm := 2\n[Later]\nlate = 3\n"),
            0);
  EXPECT_TRUE(IsGolden("byte_order_mark.ini", document.written()));
}

TEST(Golden, FewEmptyLinesStandWhereSectionsThatWerePutBegin) {
  const Document document;
  document->writeFlags = kIniWriteFewEmptyLines | kIniWriteBlanksAroundEquals;
  document->readFlags = kIniReadColons;
  ASSERT_EQ(document.read("early = 0\n\n[Read]\na = 1\n\n\n[Read too]\nb = 2\n"), 0);
  document.put("Put", "c", "3", kIniUnquoted);
  document.put("Put too", "d", "4", kIniUnquoted);
  document.put("Read", "e", "5", kIniUnquoted);
  EXPECT_TRUE(IsGolden("few_empty_lines.ini", document.written()));
}

TEST(Golden, FewEmptyLinesAreOnesAfterSectionsThatWerePutOtherThanTheNamelessOne) {
  const Document document;
  document->writeFlags = kIniWriteFewEmptyLines;
  document.put("(null)", "a", "1", kIniUnquoted);
  document.put("Put", "b", "2", kIniUnquoted);
  document.put("Put too", "c", "3", kIniUnquoted);
  EXPECT_TRUE(IsGolden("few_empty_lines_put.ini", document.written()));
}

TEST(Golden, WithoutALimitLinesAreAsLongAsTheirEntries) {
  const Document document;
  document->maxLineLength = kIniNoLineLimit;
  PutRulers(document, kIniUnquoted, {200});
  EXPECT_TRUE(IsGolden("no_limit.ini", document.written()));
}

TEST(Golden, LinesEndAtEveryKindOfLineEnd) {
  const Document document;
  const std::string text(
      "[Line ends]\na=1\nb=2\rc=3\r\nd=4\n\re=5\0f=6\0\0g=7\0\nh=8\r\0i=9\n\n\rj=10\r\r\nk=11", 66);
  ASSERT_EQ(text.substr(61), "\nk=11");
  ASSERT_EQ(document.read(text), 0);
  EXPECT_TRUE(IsGolden("line_ends.ini", document.written()));

  const std::vector<std::pair<std::string, int>> lines{{"a", 2},  {"b", 3},  {"c", 4}, {"d", 5},
                                                       {"e", 6},  {"f", 7},  {"g", 9}, {"h", 11},
                                                       {"i", 13}, {"j", 15}, {"k", 17}};
  for (const auto& [key, line] : lines) {
    EXPECT_FALSE(document.value("Line ends", key).empty());
    EXPECT_EQ(document->lastLine, line) << key;
  }
}

TEST(Golden, ALineOfAMegabyteIsReadAndWrittenWhole) {
  const std::string value = Ruler(1024 * 1024);
  const Document document;
  document->maxLineLength = kIniNoLineLimit;
  ASSERT_EQ(document.read("[Long]\nkey = " + value + "\n" + value + " = v\n[" + value + "]\na = b"),
            0);
  EXPECT_EQ(document.value("Long", "key"), value);
  EXPECT_EQ(document.value("Long", value), "v");
  EXPECT_EQ(document->lastLine, 3);
  EXPECT_EQ(document.value(value, "a"), "b");
  EXPECT_TRUE(document.written() ==
              "[Long]\nkey = " + value + "\n" + value + " = v\n\n[" + value + "]\na = b\n\n");
}

TEST(Golden, AValueOfAMegabyteIsWrappedIntoLinesWithNumbersOfFiveDigitsToo) {
  const std::string value = Ruler(1024 * 1024);
  const Document document;
  ASSERT_EQ(document.put("Long", "Name", value, kIniUnquoted), 1);
  const std::string text = document.written();
  const std::vector<std::string> lines = IniReference::Lines(text);
  ASSERT_EQ(lines.size(), 1 + 16384 + 2U);
  EXPECT_EQ(lines[1], "Name Line0001 = " + value.substr(0, 64));
  EXPECT_EQ(lines[9999], "Name Line9999 = " + value.substr(9998 * 64, 64));
  EXPECT_EQ(lines[10000], "Name Line10000 = " + value.substr(9999 * 64, 64));
  EXPECT_EQ(lines[16384], "Name Line16384 = " + value.substr(16383 * 64, 64));
  EXPECT_EQ(lines[16385], "");

  const Document back;
  ASSERT_EQ(back.read(text), 0);
  EXPECT_TRUE(back.value("Long", "Name") == value);
  EXPECT_EQ(IniNumberOfItems(back.get(), "Long"), 1);
  EXPECT_EQ(back->lastLine, 2);
}

TEST(Golden, ABlockOfTheFileMayEndAnywhereInALineEnd) {
  // The ends of the first lines fall around the bounds of blocks of 2084 bytes.
  for (const std::string end : {"\n", "\r", "\r\n", "\n\r"}) {
    for (std::size_t length = 2070; length < 2090; ++length) {
      const std::string value = Ruler(length);
      const Document document;
      ASSERT_EQ(document.read("[s]" + end + "a=" + value + end + "b=" + value + end + "c=1" + end),
                0);
      ASSERT_TRUE(document.value("s", "a") == value) << length;
      ASSERT_TRUE(document.value("s", "b") == value) << length;
      ASSERT_EQ(document.value("s", "c"), "1");
      ASSERT_EQ(document->lastLine, 4) << length;
      ASSERT_EQ(document->firstBadLine, -1);
    }
  }
}
