#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "qvini/items.h"
#include "qvini/qvini.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TestDocument;
using Texts = std::vector<std::string>;

// Everything that is in a document: "[section@line]" and "key@line=value", with the quote where
// there is one.
Texts Contents(const TestDocument& document) {
  Texts contents;
  for (std::size_t i = 1; i <= document->sections->count; ++i) {
    const auto* const section = static_cast<qvini_Section*>(qvini_ItemAt(document->sections, i));
    contents.push_back("[" + std::string(section->name) + "@" + std::to_string(section->line) +
                       "]");
    for (std::size_t n = 1; n <= section->entries.count; ++n) {
      const auto* const entry = static_cast<qvini_Entry*>(qvini_ItemAt(&section->entries, n));
      const std::string quote(entry->quote == 0 ? 0 : 1, entry->quote);
      contents.push_back(std::string(entry->name) + "@" + std::to_string(entry->line) + "=" +
                         quote + entry->value + quote);
    }
  }
  return contents;
}

Texts Read(const Texts& lines, unsigned flags = 2) {
  const TestDocument document;
  document->readFlags = flags;
  EXPECT_EQ(document.read(lines), 0);
  return Contents(document);
}

int FirstBadLine(const Texts& lines, unsigned flags = 2) {
  const TestDocument document;
  document->readFlags = flags;
  EXPECT_EQ(document.read(lines), 0);
  return document->firstBadLine;
}

TEST(Reading, TakesSectionsAndEntriesWithTheirLines) {
  EXPECT_EQ(Read({"[one]", "Key = value", "", "[two]", "a=1", " b =2"}),
            (Texts{"[one@1]", "Key@2=value", "[two@4]", "a@5=1", "b@6=2"}));
}

TEST(Reading, OfNoLinesEmptiesTheDocument) {
  const TestDocument document({"bad", "[s]", "k = v"});
  EXPECT_EQ(document->firstBadLine, 1);
  EXPECT_EQ(document.read({}), 0);
  EXPECT_EQ(Contents(document), Texts{});
  EXPECT_EQ(document->firstBadLine, -1);
}

TEST(Reading, EmptiesTheDocumentFirst) {
  const TestDocument document({"[old]", "k = v"});
  IniPut(document, "put", "k", "v", 0);
  EXPECT_EQ(document.read({"[new]", "k = v"}), 0);
  EXPECT_EQ(Contents(document), (Texts{"[new@1]", "k@2=v"}));
}

TEST(Reading, SkipsCommentsAndBlankLines) {
  EXPECT_EQ(Read({"; comment", "[s]", "", " \t\v\f", "  ;k = v", ";[x]", "k = v ; no comment"}),
            (Texts{"[s@2]", "k@7=v ; no comment"}));
  EXPECT_EQ(FirstBadLine({"; comment", "", " \t", "[s]", ";"}), -1);
}

TEST(Reading, TakesAHashForAnEntryOrABadLine) {
  EXPECT_EQ(Read({"[s]", "#k = v"}), (Texts{"[s@1]", "#k@2=v"}));
  EXPECT_EQ(FirstBadLine({"[s]", "# comment"}), 2);
}

TEST(Headers, EndAtTheFirstClosingBracket) {
  EXPECT_EQ(Read({"[a]b]", "[ c ] = d", "[e];f"}), (Texts{"[a@1]", "[c@2]", "[e@3]"}));
}

TEST(Headers, AreTrimmedInsideAndOutside) {
  EXPECT_EQ(Read({" \t[ \t a b \t] \t"}), (Texts{"[a b@1]"}));
}

TEST(Headers, AreBadWithoutClosingBracketOrName) {
  for (const char* line : {"[", "[abc", "[]", "[ \t]", "[ ]x]", "[abc = 1"})
    EXPECT_EQ(FirstBadLine({"[good]", line}), 2) << line;
}

TEST(Headers, MayHoldAnOpeningBracketAndAnEqualsSign) {
  EXPECT_EQ(Read({"[[a]", "[b=c]"}), (Texts{"[[a@1]", "[b=c@2]"}));
}

TEST(Headers, ThatAreBadLeaveEntriesToTheSectionBeforeThem) {
  EXPECT_EQ(Read({"[a]", "x = 1", "[bad", "y = 2"}), (Texts{"[a@1]", "x@2=1", "y@4=2"}));
}

TEST(Headers, ThatExistContinueTheirSectionAndMoveItsLine) {
  EXPECT_EQ(Read({"[Abc]", "x = 1", "[b]", "[ aBC ]", "y = 2"}),
            (Texts{"[Abc@4]", "x@2=1", "y@5=2", "[b@3]"}));
}

TEST(Headers, ThatExistMakeAnotherSectionWithoutMergeDuplicates) {
  const TestDocument document;
  document->mergeDuplicates = 0;
  document.read({"[a]", "x = 1", "[A]", "x = 2", "X = 3"});
  EXPECT_EQ(Contents(document), (Texts{"[a@1]", "x@2=1", "[A@3]", "x@4=2", "X@5=3"}));
  EXPECT_EQ(document.value("A", "x"), "1") << "the first of both is found";
  EXPECT_EQ(IniNumberOfItems(document, "a"), 1);
}

TEST(Headers, ThatDifferInCaseAreDifferentWithCaseSensitive) {
  const TestDocument document;
  document->caseSensitive = 1;
  document.read({"[a]", "x = 1", "[A]", "x = 2", "X = 3", "[a]", "x = 4"});
  EXPECT_EQ(Contents(document), (Texts{"[a@6]", "x@7=4", "[A@3]", "x@4=2", "X@5=3"}));
}

TEST(Headers, AreTheSameWhateverTheBlanksInTheirBracketsWithCaseSensitive) {
  const TestDocument document;
  document->caseSensitive = 1;
  document.read({"[ a ]", "x = 1", "[ a ]", "y = 2", "[a]", "z = 3"});
  EXPECT_EQ(Contents(document), (Texts{"[a@5]", "x@2=1", "y@4=2", "z@6=3"}));
}

TEST(Headers, InTheTextFindASectionAsAnyLookUpDoes) {
  const TestDocument document({"[a]", "[b]", "[a]"});
  ASSERT_NE(document->lastSection, nullptr);
  EXPECT_STREQ(document->lastSection->name, "a");
}

TEST(Entries, EndTheirKeyAtTheFirstEqualsSign) {
  EXPECT_EQ(Read({"[s]", "a = b = c", "d==", "e = =", "f:g = h"}),
            (Texts{"[s@1]", "a@2=b = c", "d@3==", "e@4==", "f:g@5=h"}));
}

TEST(Entries, AreTrimmedOnBothSidesOfTheSeparator) {
  EXPECT_EQ(Read({"[s]", "\t a b \t=\v c d \f"}), (Texts{"[s@1]", "a b@2=c d"}));
}

TEST(Entries, WithoutAValueAreBadUnlessFlagOneAcceptsThem) {
  EXPECT_EQ(Read({"[s]", "Key=", "Key = "}), (Texts{"[s@1]"}));
  EXPECT_EQ(FirstBadLine({"[s]", "Key="}), 2);
  EXPECT_EQ(Read({"[s]", "Key=", "K2 = \t"}, 3), (Texts{"[s@1]", "Key@2=", "K2@3="}));
  EXPECT_EQ(FirstBadLine({"[s]", "Key="}, 3), -1);
}

TEST(Entries, WithAnEmptyPairOfQuotesHaveAValue) {
  EXPECT_EQ(Read({"[s]", "k = \"\""}), (Texts{"[s@1]", "k@2=\"\""}));
  EXPECT_EQ(Read({"[s]", "k = ''"}, 4), (Texts{"[s@1]", "k@2=''"}));
  EXPECT_EQ(FirstBadLine({"[s]", "k = \"\""}), -1);
}

TEST(Entries, WithoutKeyOrSeparatorAreBad) {
  for (const char* line : {"word", "= value", " \t= value", "=", "Key: value", "a:b"})
    EXPECT_EQ(FirstBadLine({"[s]", line}), 2) << line;
  EXPECT_EQ(FirstBadLine({"[s]", "= value"}, 15), 2);
}

TEST(Entries, AreSeparatedByColonsTooWithFlagEight) {
  EXPECT_EQ(
      Read({"[s]", "a: 1", "b := 2", "c : = 3", "d=:4", "e::5", "f:==6", "g:=:7", "h=x:=y"}, 8),
      (Texts{"[s@1]", "a@2=1", "b@3=2", "c@4== 3", "d@5=:4", "e@6=:5", "f@7==6", "g@8=:7",
             "h@9=x:=y"}));
}

TEST(Entries, WithAColonAndNothingBehindItAreBadUnlessEmptyValuesAreAccepted) {
  EXPECT_EQ(FirstBadLine({"[s]", "a:"}, 8), 2);
  EXPECT_EQ(FirstBadLine({"[s]", "a:="}, 8), 2);
  EXPECT_EQ(FirstBadLine({"[s]", ": v"}, 8), 2);
  EXPECT_EQ(Read({"[s]", "a:", "b:="}, 9), (Texts{"[s@1]", "a@2=", "b@3="}));
}

TEST(Entries, KeepTheirQuotesWithoutTheFlagsForThem) {
  EXPECT_EQ(Read({"[s]", "a = \"x\"", "b = 'y'"}, 0), (Texts{"[s@1]", "a@2=\"x\"", "b@3='y'"}));
  const TestDocument document;
  document->readFlags = 0;
  document.read({"[s]", "a = \"x\""});
  EXPECT_EQ(document.value("s", "a"), "\"x\"");
}

TEST(Entries, LoseTheirQuotesAndGetThemBackWhenWritten) {
  const TestDocument document;
  document->readFlags = 6;
  document.read({"[s]", "a = \"word\"", "b = ' word '", "c = word"});
  EXPECT_EQ(document.value("s", "a"), "word");
  EXPECT_EQ(document.value("s", "b"), " word ");
  EXPECT_EQ(document.lines(), (Texts{"[s]", "a = \"word\"", "b = ' word '", "c = word", ""}));
}

TEST(Entries, ThatExistGetTheNewValueQuoteAndLine) {
  EXPECT_EQ(Read({"[s]", "Key = 1", "b = 2", "kEY = \"3\""}),
            (Texts{"[s@1]", "Key@4=\"3\"", "b@3=2"}));
  EXPECT_EQ(Read({"[s]", "Key = \"1\"", "key = 2"}), (Texts{"[s@1]", "Key@3=2"}));
}

TEST(Entries, ThatExistAreAddedWithoutMergeDuplicates) {
  const TestDocument document;
  document->mergeDuplicates = 0;
  document.read({"[s]", "k = 1", "k = 2"});
  EXPECT_EQ(Contents(document), (Texts{"[s@1]", "k@2=1", "k@3=2"}));
  EXPECT_EQ(document.value("s", "k"), "1");
}

TEST(Entries, ThatDifferInCaseAreDifferentWithCaseSensitive) {
  const TestDocument document;
  document->caseSensitive = 1;
  document.read({"[s]", "k = 1", "K = 2", "k = 3"});
  EXPECT_EQ(Contents(document), (Texts{"[s@1]", "k@4=3", "K@3=2"}));
}

TEST(EntriesBeforeTheFirstHeader, AreDroppedSilently) {
  EXPECT_EQ(Read({"a = 1", "[s]", "b = 2"}), (Texts{"[s@2]", "b@3=2"}));
  EXPECT_EQ(FirstBadLine({"a = 1", "[s]"}), -1);
}

TEST(EntriesBeforeTheFirstHeader, AreBadLinesWhenTheyAreBad) {
  EXPECT_EQ(FirstBadLine({"a = 1", "word", "b =", "[s]"}), 2);
  EXPECT_EQ(FirstBadLine({"a = 1", "b =", "[s]"}), 2);
}

TEST(EntriesBeforeTheFirstHeader, GoIntoTheNullSectionWithFlagEight) {
  EXPECT_EQ(Read({"; comment", "bad", "a = 1", "b = 2", "[s]", "c = 3"}, 8),
            (Texts{"[(null)@3]", "a@3=1", "b@4=2", "[s@5]", "c@6=3"}));
}

TEST(EntriesBeforeTheFirstHeader, MakeNoSectionWhenAllOfThemAreBad) {
  EXPECT_EQ(Read({"bad", "[s]"}, 8), (Texts{"[s@2]"}));
}

TEST(EntriesBeforeTheFirstHeader, AreThoseAfterABadFirstHeaderToo) {
  EXPECT_EQ(Read({"[bad", "a = 1"}), Texts{});
  EXPECT_EQ(Read({"[bad", "a = 1"}, 8), (Texts{"[(null)@2]", "a@2=1"}));
}

TEST(NullSection, MayBeContinuedByItsName) {
  EXPECT_EQ(Read({"a = 1", "[s]", "[(NULL)]", "b = 2"}, 8),
            (Texts{"[(null)@3]", "a@1=1", "b@4=2", "[s@2]"}));
}

TEST(FirstBadLine, IsTheFirstAndReadingGoesOn) {
  const TestDocument document({"", "[s]", "bad", "[", "k = v", "worse"});
  EXPECT_EQ(document->firstBadLine, 3);
  EXPECT_EQ(document.value("s", "k"), "v");
}

TEST(FirstBadLine, StartsAnewWithEachRead) {
  const TestDocument document({"bad"});
  EXPECT_EQ(document->firstBadLine, 1);
  document.read({"[s]"});
  EXPECT_EQ(document->firstBadLine, -1);
}

TEST(LongLines, HaveNoLimit) {
  for (const std::size_t length : {250U, 255U, 256U, 257U, 511U, 512U, 513U, 1U << 20}) {
    const std::string text(length, 'x');
    const TestDocument document({"[" + text + "]", text + " = " + text, ";" + text});
    EXPECT_EQ(document->firstBadLine, -1);
    EXPECT_EQ(document.value(text, text), text);
  }
}

// Asserts what each call of the input function offers.
struct Offers {
  std::vector<std::size_t> sizes;
  std::size_t left;
};

int TakeAllOffered(void* source, char* buffer, std::size_t size) {
  auto* const offers = static_cast<Offers*>(source);
  if (offers->left == 0) return kIniInputEnd;
  offers->sizes.push_back(size);
  const std::size_t count = std::min(offers->left, size - 1);
  std::memset(buffer, 'x', count);
  buffer[count] = '\0';
  offers->left -= count;
  return offers->left == 0 ? kIniInputLine : kIniInputPart;
}

TEST(LongLines, AreReadIntoABufferThatDoubles) {
  const TestDocument document;
  Offers offers{{}, 1500};
  EXPECT_EQ(IniRead(document, TakeAllOffered, &offers), 0);
  // 256 bytes, then what 512, 1024 and 2048 leave behind those that are filled.
  EXPECT_EQ(offers.sizes, (std::vector<std::size_t>{256, 257, 513, 1025}));
}

TEST(InputFunction, MayEndALineWithAnEmptyPart) {
  struct Parts {
    int calls = 0;
  } parts;
  const auto input = [](void* source, char* buffer, std::size_t) {
    static const std::pair<const char*, int> kParts[] = {
        {"[s]", kIniInputPart}, {"", kIniInputLine},  {"k = ", kIniInputPart},
        {"", kIniInputPart},    {"v", kIniInputLine}, {"", kIniInputEnd}};
    const auto& part = kParts[static_cast<Parts*>(source)->calls++];
    std::strcpy(buffer, part.first);
    return part.second;
  };
  const TestDocument document;
  EXPECT_EQ(IniRead(document, input, &parts), 0);
  EXPECT_EQ(Contents(document), (Texts{"[s@1]", "k@2=v"}));
}

TEST(InputFunction, MayEndBehindAPartThatWasAllOfItsLine) {
  struct Parts {
    int calls = 0;
  } parts;
  const auto input = [](void* source, char* buffer, std::size_t) {
    static const std::pair<const char*, int> kParts[] = {
        {"[s]", kIniInputLine}, {"k = ", kIniInputPart}, {"v", kIniInputPart}, {"x", kIniInputEnd}};
    const auto& part = kParts[static_cast<Parts*>(source)->calls++];
    std::strcpy(buffer, part.first);
    return part.second;
  };
  const TestDocument document;
  EXPECT_EQ(IniRead(document, input, &parts), 0);
  EXPECT_EQ(Contents(document), (Texts{"[s@1]", "k@2=v"}));
  EXPECT_EQ(parts.calls, 4) << "and is not asked behind its end";
}

TEST(InputFunction, EndsTheReadingWithItsCodeAndAnEmptyDocument) {
  const TestDocument document({"[old]", "k = v"});
  document.value("old", "k");
  EXPECT_EQ(document.read({"bad", "[s]", "k = v"}, -77), -77);
  EXPECT_EQ(Contents(document), Texts{});
  EXPECT_EQ(document->firstBadLine, -1);
  EXPECT_EQ(document->lastSection, nullptr);
  EXPECT_EQ(document.read({"[s]", "k = v"}), 0);
  EXPECT_EQ(document.value("s", "k"), "v");
}

TEST(Lines, OfACustomSourceMayHoldLineEnds) {
  EXPECT_EQ(Read({"[s]", "\r\nk\n = \ra\nb\r\n"}), (Texts{"[s@1]", "k@2=a\nb"}));
}

TEST(ManySections, OfWhichEachIsContinuedKeepTheirOrder) {
  Texts lines;
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 2000; ++i) {
      lines.push_back("[Section " + std::to_string(i) + "]");
      lines.push_back("k" + std::to_string(round) + " = " + std::to_string(i));
    }
  }
  const TestDocument document(lines);
  EXPECT_EQ(document->sections->count, 2000U);
  for (int i = 0; i < 2000; ++i) {
    const std::string section = "sECTION " + std::to_string(i);
    EXPECT_EQ(document.value(section, "k0"), std::to_string(i));
    EXPECT_EQ(document.line(section, "k1"), 4000 + 2 * i + 2);
  }
}

}  // namespace
