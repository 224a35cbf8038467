#include "qvini/continuation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvini/items.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TestDocument;
using Texts = std::vector<std::string>;

// "base|number", or "(none)".
std::string Analyze(const std::string& name) {
  std::size_t length = 999;
  unsigned number = 999;
  if (AnalyzeItemName(name.c_str(), &length, &number) != 1) {
    EXPECT_EQ(length, 999U);
    EXPECT_EQ(number, 999U);
    return "(none)";
  }
  return name.substr(0, length) + "|" + std::to_string(number);
}

// The entries "key=value" of section s that these lines make.
Texts Joined(const Texts& lines) {
  Texts all{"[s]"};
  all.insert(all.end(), lines.begin(), lines.end());
  const TestDocument document(all);
  const qvini_Section* const section = qvini_FindSection(document, qvini_Whole("s"));
  Texts result;
  for (std::size_t i = 1; i <= section->entries.count; ++i) {
    const auto* const entry = static_cast<qvini_Entry*>(qvini_ItemAt(&section->entries, i));
    result.push_back(std::string(entry->name) + "=" + entry->value);
  }
  return result;
}

TEST(AnalyzeItemName, FindsTheMarkAndDigitsUpToTheEnd) {
  EXPECT_EQ(Analyze("Name Line0001"), "Name|1");
  EXPECT_EQ(Analyze("Name Line1"), "Name|1");
  EXPECT_EQ(Analyze("Name Line0"), "Name|0");
  EXPECT_EQ(Analyze("Two words Line12"), "Two words|12");
  EXPECT_EQ(Analyze("Name  Line7"), "Name |7");
  EXPECT_EQ(Analyze(" Line1"), "|1");
}

TEST(AnalyzeItemName, TakesTheMarkBeforeTheDigits) {
  EXPECT_EQ(Analyze("a Line1 Line2"), "a Line1|2");
  EXPECT_EQ(Analyze("a Line b Line3"), "a Line b|3");
}

TEST(AnalyzeItemName, RefusesOtherNames) {
  for (const char* name : {"", "1", "Line1", "Name", "Name Line", "Name Line1a", "Name Line 1",
                           "Name Line-1", "Name Line+1", "NameLine1", "Name\tLine1", "Name line1",
                           "Name LINE1", "Name Line1 ", "Name 1", "ine1", "e1"})
    EXPECT_EQ(Analyze(name), "(none)") << name;
  std::size_t length = 0;
  unsigned number = 0;
  EXPECT_EQ(AnalyzeItemName(nullptr, &length, &number), 0);
}

TEST(AnalyzeItemName, TakesNumbersUpToTheLargestUnsignedOne) {
  EXPECT_EQ(Analyze("a Line4294967295"), "a|4294967295");
  EXPECT_EQ(Analyze("a Line4294967296"), "(none)");
  EXPECT_EQ(Analyze("a Line0000000000000000000000000000000002"), "a|2");
}

TEST(Joining, PutsTheValuesOfARunTogetherUnderTheBaseName) {
  EXPECT_EQ(Joined({"a Line0001 = one", "a Line0002 = two", "a Line0003 = three"}),
            (Texts{"a=onetwothree"}));
}

TEST(Joining, KeepsLineAndQuoteOfTheFirstPiece) {
  const TestDocument document({"[s]", "x = 1", "a Line1 = \"one\"", "a Line2 = two", "b = 2"});
  EXPECT_EQ(document.line("s", "a"), 3);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "x = 1", "a = \"onetwo\"", "b = 2", ""}));
}

TEST(Joining, TakesARunOfOne) {
  EXPECT_EQ(Joined({"a Line1 = one", "b = 2"}), (Texts{"a=one", "b=2"}));
}

TEST(Joining, EndsARunAtAPlainEntry) {
  EXPECT_EQ(Joined({"a Line1 = 1", "a Line2 = 2", "b = x", "a Line3 = 3"}),
            (Texts{"a=12", "b=x", "a Line3=3"}));
}

TEST(Joining, BeginsAnotherRunAtEachNumberOne) {
  EXPECT_EQ(Joined({"a Line1 = 1", "a Line2 = 2", "b Line1 = 3", "b Line01 = 4", "c Line2 = 5"}),
            (Texts{"a=12", "b=3", "b=45"}));
}

TEST(Joining, LeavesPiecesWithoutANumberOneBeforeThem) {
  EXPECT_EQ(Joined({"a Line2 = 2", "a Line3 = 3", "a Line1 = 1"}),
            (Texts{"a Line2=2", "a Line3=3", "a=1"}));
}

TEST(Joining, GoesByTheOrderOfTheDocumentAndNotByNumbers) {
  EXPECT_EQ(Joined({"a Line1 = 1", "a Line3 = 3", "a Line2 = 2", "a Line0 = 0", "a Line9 = 9"}),
            (Texts{"a=13209"}));
}

TEST(Joining, DoesNotAskWhetherBaseNamesAgree) {
  EXPECT_EQ(Joined({"a Line1 = 1", "b Line2 = 2", "C Line7 = 3"}), (Texts{"a=123"}));
}

TEST(Joining, TrimsTheBaseName) {
  EXPECT_EQ(Joined({"a \t Line1 = 1"}), (Texts{"a=1"}));
}

TEST(Joining, DoesNotTrimTheJoinedValue) {
  EXPECT_EQ(Joined({R"(a Line1 = " 1 ")", R"(a Line2 = " 2 ")"}), (Texts{"a= 1  2 "}));
}

TEST(Joining, LeavesAnEntryThatHasTheBaseNameAlready) {
  EXPECT_EQ(Joined({"a = 0", "a Line1 = 1", "a Line2 = 2"}), (Texts{"a=0", "a=12"}));
}

TEST(Joining, LookUpsFindTheFirstOfTheTwoThen) {
  const TestDocument document({"[s]", "a Line1 = 1", "a Line2 = 2", "x = y", "a = 0"});
  EXPECT_EQ(document.value("s", "a"), "12");
}

TEST(Joining, LeavesNumbersOutOfRangeAlone) {
  EXPECT_EQ(Joined({"a Line1 = 1", "a Line4294967295 = 2", "a Line4294967296 = 3"}),
            (Texts{"a=12", "a Line4294967296=3"}));
}

TEST(Joining, KeepsToItsSection) {
  const TestDocument document({"[s]", "a Line1 = 1", "[t]", "a Line2 = 2"});
  EXPECT_EQ(document.value("s", "a"), "1");
  EXPECT_EQ(document.value("t", "a Line2"), "2");
}

TEST(Joining, JoinsJoinedNamesNoFurther) {
  EXPECT_EQ(Joined({"a Line1 Line1 = 1", "a Line1 Line2 = 2"}), (Texts{"a Line1=12"}));
}

TEST(Joining, LeavesNoTraceOfThePiecesInLongSections) {
  Texts lines{"[s]"};
  for (int i = 0; i < 50; ++i)
    lines.push_back("k" + std::to_string(i) + " = v");
  for (int i = 1; i <= 50; ++i)
    lines.push_back("a Line" + std::to_string(i) + " = " + std::to_string(i % 10));
  lines.emplace_back("z = last");
  const TestDocument document(lines);
  EXPECT_EQ(IniNumberOfItems(document, "s"), 52);
  EXPECT_EQ(document.value("s", "a").size(), 50U);
  EXPECT_EQ(document.value("s", "a Line1"), "(none)");
  EXPECT_EQ(document.value("s", "a Line50"), "(none)");
  EXPECT_EQ(document.value("s", "k49"), "v");
  EXPECT_EQ(document.value("s", "z"), "last");
  EXPECT_EQ(document.keys("s")[50], "a");
}

TEST(Joining, LooksAtWhatWasReadAlone) {
  const TestDocument document;
  IniPut(document, "s", "a Line1", "1", 0);
  IniPut(document, "s", "a Line2", "2", 0);
  EXPECT_EQ(document.keys("s"), (Texts{"a Line1", "a Line2"}));
}

}  // namespace
