#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "qvini/qvini.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TestDocument;
using Texts = std::vector<std::string>;

constexpr unsigned kDefaultFlags = 14;

// The entry lines of a document with one value in section "s" under key.
class OneValue {
 public:
  OneValue(const std::string& key, const std::string& value, char quote = 0) {
    if (IniPut(document, "s", key.c_str(), value.c_str(), quote) != 1)
      throw std::runtime_error("put");
  }

  Texts entryLines() const {
    Texts lines = document.lines();
    EXPECT_EQ(lines.front(), "[s]");
    EXPECT_EQ(lines.back(), "");
    return {lines.begin() + 1, lines.end() - 1};
  }

  const TestDocument document;
};

std::string Times(std::size_t count, char c) {
  return std::string(count, c);
}

TEST(Writing, SeparatesKeyAndValueAsFlagEightSays) {
  const OneValue item("k", "v", 34);
  EXPECT_EQ(item.entryLines(), (Texts{"k = \"v\""}));
  item.document->writeFlags = kDefaultFlags & ~8U;
  EXPECT_EQ(item.entryLines(), (Texts{"k=\"v\""}));
}

TEST(Writing, OfAnEmptyDocumentWritesNothing) {
  const TestDocument document;
  EXPECT_EQ(document.lines(), Texts{});
  document->writeFlags = 16;
  EXPECT_EQ(document.lines(), Texts{});
}

TEST(Writing, PutsEitherQuoteAroundValues) {
  EXPECT_EQ(OneValue("k", "v", 39).entryLines(), (Texts{"k = 'v'"}));
  EXPECT_EQ(OneValue("k", "v", 34).entryLines(), (Texts{"k = \"v\""}));
  EXPECT_EQ(OneValue("k", "", 34).entryLines(), (Texts{"k = \"\""}));
  EXPECT_EQ(OneValue("k", "", 0).entryLines(), (Texts{"k = "}));
}

TEST(Writing, LeavesOutTheHeaderOfTheNullSection) {
  const TestDocument document;
  document->readFlags = 8;
  document.read({"a = 1", "[s]", "b = 2"});
  EXPECT_EQ(document.lines(), (Texts{"a = 1", "", "[s]", "b = 2", ""}));
}

TEST(Writing, KnowsTheNullSectionByItsExactName) {
  const TestDocument document({"[(NULL)]", "a = 1"});
  EXPECT_EQ(document.lines(), (Texts{"[(NULL)]", "a = 1", ""}));
}

TEST(Wrapping, BeginsBeyondMaxLineLength) {
  // "k = " takes 4 of the 80.
  EXPECT_EQ(OneValue("k", Times(76, 'x')).entryLines(), (Texts{"k = " + Times(76, 'x')}));
  EXPECT_EQ(OneValue("k", Times(77, 'x')).entryLines(),
            (Texts{"k Line0001 = " + Times(67, 'x'), "k Line0002 = " + Times(10, 'x')}));
}

TEST(Wrapping, CountsTheQuotes) {
  EXPECT_EQ(OneValue("k", Times(74, 'x'), 34).entryLines(),
            (Texts{"k = \"" + Times(74, 'x') + "\""}));
  EXPECT_EQ(OneValue("k", Times(75, 'x'), 34).entryLines(),
            (Texts{"k Line0001 = \"" + Times(65, 'x') + "\"",
                   "k Line0002 = \"" + Times(10, 'x') + "\""}));
}

TEST(Wrapping, CountsTheSeparatorAsWrittenForWhatFitsAndWithThreeForTheRoom) {
  const OneValue fits("k", Times(78, 'x'));
  fits.document->writeFlags = 0;
  EXPECT_EQ(fits.entryLines(), (Texts{"k=" + Times(78, 'x')}));
  const OneValue wrapped("k", Times(79, 'x'));
  wrapped.document->writeFlags = 0;
  EXPECT_EQ(wrapped.entryLines(),
            (Texts{"k Line0001=" + Times(67, 'x'), "k Line0002=" + Times(12, 'x')}));
}

TEST(Wrapping, CutsTwoHundredCharactersIntoFourLines) {
  const OneValue item("Name", Times(200, 'v'));
  EXPECT_EQ(item.entryLines(),
            (Texts{"Name Line0001 = " + Times(64, 'v'), "Name Line0002 = " + Times(64, 'v'),
                   "Name Line0003 = " + Times(64, 'v'), "Name Line0004 = " + Times(8, 'v')}));
  const TestDocument read(item.document.lines());
  EXPECT_EQ(read.keys("s"), (Texts{"Name"}));
  EXPECT_EQ(read.value("s", "Name"), Times(200, 'v'));
}

TEST(Wrapping, LeavesLessRoomWithQuotes) {
  const OneValue item("Name", Times(200, 'v'), 34);
  const Texts lines = item.entryLines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0], "Name Line0001 = \"" + Times(62, 'v') + "\"");
  EXPECT_EQ(lines[0].size(), 80U);
  EXPECT_EQ(lines[3], "Name Line0004 = \"" + Times(14, 'v') + "\"");
  EXPECT_EQ(TestDocument(item.document.lines()).value("s", "Name"), Times(200, 'v'));
}

TEST(Wrapping, EndsWithAFullPieceWhenTheLengthIsAMultiple) {
  const OneValue item("Name", Times(128, 'v'));
  EXPECT_EQ(item.entryLines(),
            (Texts{"Name Line0001 = " + Times(64, 'v'), "Name Line0002 = " + Times(64, 'v')}));
}

TEST(Wrapping, WorksDownToARoomOfOne) {
  const OneValue item("k", "0123456789ab");
  item.document->maxLineLength = 14;
  const Texts lines = item.entryLines();
  ASSERT_EQ(lines.size(), 12U);
  EXPECT_EQ(lines[0], "k Line0001 = 0");
  EXPECT_EQ(lines[11], "k Line0012 = b");
  item.document->maxLineLength = 13;
  EXPECT_EQ(item.document.write(), -2);
}

TEST(Wrapping, WorksDownToARoomOfOneWithQuotes) {
  const OneValue item("k", "0123456789ab", 39);
  item.document->maxLineLength = 16;
  EXPECT_EQ(item.entryLines()[1], "k Line0002 = '1'");
  item.document->maxLineLength = 15;
  EXPECT_EQ(item.document.write(), -2);
}

TEST(Wrapping, FailsForAnyEntryWhenTheLimitIsZero) {
  const OneValue item("k", "");
  item.document->maxLineLength = 0;
  EXPECT_EQ(item.document.write(), -2);
}

TEST(Wrapping, FailsWhenTheKeyAloneIsTooLong) {
  EXPECT_EQ(OneValue(Times(80, 'k'), "v").document.write(), -2);
  EXPECT_EQ(OneValue(Times(100000, 'k'), "v").document.write(), -2);
  EXPECT_EQ(OneValue(Times(76, 'k'), "v").entryLines(), (Texts{Times(76, 'k') + " = v"}));
}

TEST(Wrapping, DoesNotLimitHeaders) {
  const TestDocument document;
  document->maxLineLength = 10;
  IniPut(document, Times(500, 's').c_str(), "k", "v", 0);
  EXPECT_EQ(document.lines().front(), "[" + Times(500, 's') + "]");
}

TEST(Wrapping, NeverHappensWithAllBitsSet) {
  const OneValue item("k", Times(1 << 20, 'x'), 34);
  item.document->maxLineLength = kIniNoLineLimit;
  EXPECT_EQ(item.entryLines(), (Texts{"k = \"" + Times(1 << 20, 'x') + "\""}));
}

TEST(Wrapping, HappensWithOneLessThanThat) {
  const OneValue item("k", Times(1 << 20, 'x'));
  item.document->maxLineLength = UINT_MAX - 1;
  EXPECT_EQ(item.entryLines().size(), 1U);
}

TEST(Wrapping, NumbersBeyondFourDigitsMakeLinesOneLonger) {
  const OneValue item("k", Times(10001, 'x'));
  item.document->maxLineLength = 14;
  const Texts lines = item.entryLines();
  ASSERT_EQ(lines.size(), 10001U);
  EXPECT_EQ(lines[9998], "k Line9999 = x");
  EXPECT_EQ(lines[9999], "k Line10000 = x");
  EXPECT_EQ(TestDocument(item.document.lines()).value("s", "k"), Times(10001, 'x'));
}

TEST(Wrapping, OfAMegabyteReadsBackWhole) {
  std::string value;
  for (int i = 0; value.size() < (1 << 20); ++i)
    value += std::to_string(i) + ",";
  const OneValue item("Name", value, 34);
  EXPECT_EQ(TestDocument(item.document.lines()).value("s", "Name"), value);
}

TEST(WrapBreakChar, EndsPiecesAfterTheLastOneInTheRoom) {
  const OneValue item("k", "aa,bb,cccc,d,e,ff,ggg");
  item.document->wrapBreakChar = ',';
  // A room of 7: "aa,bb,c", "cccc,d,", "e,ff,gg".
  item.document->maxLineLength = 20;
  EXPECT_EQ(item.entryLines(), (Texts{"k Line0001 = aa,bb,", "k Line0002 = cccc,d,",
                                      "k Line0003 = e,ff,", "k Line0004 = ggg"}));
}

TEST(WrapBreakChar, IsKeptAtTheEndOfEachPiece) {
  std::string value;
  for (int i = 100; i < 130; ++i)
    value += std::to_string(i) + ";";
  const OneValue item("k", value + "end");
  item.document->wrapBreakChar = ';';
  item.document->maxLineLength = 23;
  const Texts lines = item.entryLines();
  ASSERT_EQ(lines.size(), 16U);
  EXPECT_EQ(lines[0], "k Line0001 = 100;101;");
  EXPECT_EQ(lines[14], "k Line0015 = 128;129;");
  EXPECT_EQ(lines[15], "k Line0016 = end");
  EXPECT_EQ(TestDocument(item.document.lines()).value("s", "k"), value + "end");
}

TEST(WrapBreakChar, MayBeTheLastCharacterInTheRoom) {
  const OneValue item("k", "0123456789;0123456789;");
  item.document->wrapBreakChar = ';';
  item.document->maxLineLength = 24;
  EXPECT_EQ(item.entryLines(), (Texts{"k Line0001 = 0123456789;", "k Line0002 = 0123456789;"}));
  item.document->maxLineLength = 23;
  EXPECT_EQ(item.document.write(), -2);
}

TEST(WrapBreakChar, IsNotNeededInARestThatFits) {
  const OneValue item("k", "0123456789;0123456789");
  item.document->wrapBreakChar = ';';
  item.document->maxLineLength = 24;
  EXPECT_EQ(item.entryLines(), (Texts{"k Line0001 = 0123456789;", "k Line0002 = 0123456789"}));
}

TEST(WrapBreakChar, MissingFromTheRoomFails) {
  const OneValue item("k", Times(100, 'x') + ";");
  item.document->wrapBreakChar = ';';
  EXPECT_EQ(item.document.write(), -2);
}

TEST(WrapBreakChar, DoesNotMatterForValuesThatFit) {
  const OneValue item("k", "no break");
  item.document->wrapBreakChar = ';';
  EXPECT_EQ(item.entryLines(), (Texts{"k = no break"}));
}

TEST(EmptyLines, StandAfterEverySectionWithoutFlagSixteen) {
  const TestDocument document({"[a]", "k = 1", "[b]"});
  IniPut(document, "c", "k", "1", 0);
  EXPECT_EQ(document.lines(), (Texts{"[a]", "k = 1", "", "[b]", "", "[c]", "k = 1", ""}));
}

TEST(EmptyLines, StandAfterSectionsThatWerePutAloneWithFlagSixteen) {
  const TestDocument document({"[a]", "k = 1", "[b]"});
  document->writeFlags = kDefaultFlags | 16;
  IniPut(document, "a", "k2", "2", 0);
  EXPECT_EQ(document.lines(), (Texts{"[a]", "k = 1", "k2 = 2", "[b]"}));
  IniPut(document, "c", "k", "1", 0);
  IniPut(document, "d", "k", "1", 0);
  EXPECT_EQ(document.lines(),
            (Texts{"[a]", "k = 1", "k2 = 2", "[b]", "", "[c]", "k = 1", "", "[d]", "k = 1", ""}));
}

TEST(EmptyLines, FollowTheNullSectionUnlessFlagSixteenIsSet) {
  const TestDocument document;
  document->readFlags = 8;
  document.read({"a = 1", "[s]"});
  document->writeFlags = kDefaultFlags | 16;
  EXPECT_EQ(document.lines(), (Texts{"a = 1", "[s]"}));
}

TEST(EmptyLines, AreLeftOutAfterANullSectionThatWasPutWithFlagSixteen) {
  const TestDocument document;
  document->writeFlags = kDefaultFlags | 16;
  IniPut(document, "(null)", "k", "1", 0);
  IniPut(document, "b", "k", "2", 0);
  EXPECT_EQ(document.lines(), (Texts{"k = 1", "[b]", "k = 2", ""}));
}

TEST(EmptyLines, SeparateAPutSectionFromANullSectionThatWasRead) {
  const TestDocument document;
  document->readFlags = 8;
  document.read({"a = 1"});
  document->writeFlags = kDefaultFlags | 16;
  IniPut(document, "b", "k", "2", 0);
  EXPECT_EQ(document.lines(), (Texts{"a = 1", "", "[b]", "k = 2", ""}));
}

TEST(OutputFunction, EndsTheWritingWithItsCode) {
  const TestDocument document({"[s]", "a = 1", "b = 2"});
  for (int last = 0; last < 4; ++last) {
    int left = last;
    const auto output = [](void* sink, const char*) {
      return (*static_cast<int*>(sink))-- == 0 ? -78 : 0;
    };
    EXPECT_EQ(IniWrite(document, output, &left), -78);
    EXPECT_EQ(left, -1) << "no line after the failure";
  }
}

TEST(OutputFunction, MayGiveTheNumberOfItsBytes) {
  const TestDocument document({"[s]", "k = v"});
  std::string text;
  const auto output = [](void* sink, const char* line) {
    static_cast<std::string*>(sink)->append(line).append("\n");
    return static_cast<int>(std::strlen(line));
  };
  EXPECT_EQ(IniWrite(document, output, &text), 0);
  EXPECT_EQ(text, "[s]\nk = v\n\n");
}

TEST(OutputFunction, GetsTheLinesBeforeTheOneThatCannotBeWrapped) {
  const TestDocument document({"[s]", "a = 1"});
  IniPut(document, "s", Times(100, 'k').c_str(), "v", 0);
  Texts lines;
  const auto output = [](void* sink, const char* line) {
    static_cast<Texts*>(sink)->emplace_back(line);
    return 0;
  };
  EXPECT_EQ(IniWrite(document, output, &lines), -2);
  EXPECT_EQ(lines, (Texts{"[s]", "a = 1"}));
}

}  // namespace
