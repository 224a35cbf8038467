#include "qvini/qvini.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "qvini/items.h"
#include "tests/ScopedLocale.h"
#include "tests/TestLocale.h"
#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TestDocument;
using qv::tests::UseTestLocales;
using Texts = std::vector<std::string>;

int Put(IniDocument* document, const std::string& section, const std::string& key,
        const std::string& value, char quote = 0) {
  return IniPut(document, section.c_str(), key.c_str(), value.c_str(), quote);
}

// The line and the quote of an entry as it is stored.
std::pair<int, int> LineAndQuote(IniDocument* document, const char* section, const char* key) {
  const qvini_Entry* const entry = qvini_FindEntry(
      document, qvini_FindSection(document, qvini_Whole(section)), qvini_Whole(key));
  return {entry->line, entry->quote};
}

TEST(IniNew, GivesNullUnlessItsArgumentIsZero) {
  EXPECT_EQ(IniNew(1), nullptr);
  EXPECT_EQ(IniNew(-1), nullptr);
  IniDispose(IniNew(0));
}

TEST(IniDispose, AllowsNull) {
  IniDispose(nullptr);
}

TEST(IniNew, SetsEveryFieldToItsDefault) {
  const TestDocument document;
  EXPECT_NE(document->sections, nullptr);
  EXPECT_TRUE(document.lines().empty());
  EXPECT_EQ(document->lastSection, nullptr);
  EXPECT_EQ(document->sectionFlags, 0);
  EXPECT_EQ(document->mergeDuplicates, 1);
  EXPECT_EQ(document->caseSensitive, 0);
  EXPECT_EQ(document->lastLine, -1);
  EXPECT_EQ(document->stringCache.size, 256U);
  EXPECT_EQ(document->maxLineLength, 80U);
  EXPECT_EQ(document->wrapBreakChar, 0);
  EXPECT_EQ(document->writeFlags, 14U);
  EXPECT_EQ(document->readFlags, 2U);
  EXPECT_EQ(document->firstBadLine, -1);
  EXPECT_STREQ(document->path, "");
  EXPECT_EQ(document->modificationTime, 0);
}

TEST(Document, HasItsFieldsInTheirOrder) {
  const std::vector<std::size_t> offsets = {
      offsetof(IniDocument, sections),      offsetof(IniDocument, lastSection),
      offsetof(IniDocument, sectionFlags),  offsetof(IniDocument, mergeDuplicates),
      offsetof(IniDocument, caseSensitive), offsetof(IniDocument, lastLine),
      offsetof(IniDocument, stringCache),   offsetof(IniDocument, maxLineLength),
      offsetof(IniDocument, wrapBreakChar), offsetof(IniDocument, writeFlags),
      offsetof(IniDocument, readFlags),     offsetof(IniDocument, firstBadLine),
      offsetof(IniDocument, path),          offsetof(IniDocument, modificationTime)};
  EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
  EXPECT_EQ(offsets.front(), 0U);
}

TEST(Constants, HaveTheValuesThatFilesAndCallersKnow) {
  EXPECT_EQ(kIniFound, 1);
  EXPECT_EQ(kIniMissing, 0);
  EXPECT_EQ(kIniDone, 0);
  EXPECT_EQ(kIniCannotWrap, -2);
  EXPECT_EQ(kIniUnknownEncoding, -3);
  EXPECT_EQ(kIniEmptyName, -6);
  EXPECT_EQ(kIniOutOfMemory, -12);
  EXPECT_EQ(kIniNotWritable, -13);
  EXPECT_EQ(kIniBadPath, -22);
  EXPECT_EQ(kIniFlushFailed, -28);
  EXPECT_EQ(kIniOpenForReadingFailed, -5001);
  EXPECT_EQ(kIniReadFailed, -5002);
  EXPECT_EQ(kIniTemporaryFileFailed, -5003);
  EXPECT_EQ(kIniOpenForWritingFailed, -5004);
  EXPECT_EQ(kIniNotAnInt, -5021);
  EXPECT_EQ(kIniNotAnUnsigned, -5022);
  EXPECT_EQ(kIniNotADouble, -5023);
  EXPECT_EQ(kIniNotABoolean, -5024);
  EXPECT_EQ(kIniNoLineLimit, UINT_MAX);
}

TEST(IniPut, MakesSectionAndEntry) {
  const TestDocument document;
  EXPECT_EQ(Put(document, "Section", "Key", "value"), 1);
  EXPECT_EQ(document.value("Section", "Key"), "value");
  EXPECT_EQ(LineAndQuote(document, "Section", "Key"), std::make_pair(-1, 0));
  EXPECT_EQ(qvini_FindSection(document, qvini_Whole("Section"))->line, -1);
  EXPECT_EQ(document.lines(), (Texts{"[Section]", "Key = value", ""}));
}

TEST(IniPut, AddsSectionsAndEntriesAtTheEnd) {
  const TestDocument document;
  for (const char* section : {"b", "a", "c"}) {
    for (const char* key : {"2", "1", "3"})
      EXPECT_EQ(Put(document, section, key, "v"), 1);
  }
  EXPECT_EQ(document.lines(), (Texts{"[b]", "2 = v", "1 = v", "3 = v", "", "[a]", "2 = v", "1 = v",
                                     "3 = v", "", "[c]", "2 = v", "1 = v", "3 = v", ""}));
}

TEST(IniPut, RefusesEmptyAndBlankNames) {
  const TestDocument document;
  for (const char* name : {"", " ", "\t\n\v\f\r "}) {
    EXPECT_EQ(Put(document, name, "key", "v"), -6);
    EXPECT_EQ(Put(document, "section", name, "v"), -6);
  }
  EXPECT_EQ(IniPut(document, nullptr, "key", "v", 0), -6);
  EXPECT_EQ(IniPut(document, "section", nullptr, "v", 0), -6);
  EXPECT_TRUE(document.lines().empty()) << "a refused put leaves nothing behind";
}

TEST(IniPut, TrimsNamesAndValue) {
  const TestDocument document;
  EXPECT_EQ(Put(document, " \tmy section ", "\nmy key\r", " my value\v"), 1);
  EXPECT_EQ(document.lines(), (Texts{"[my section]", "my key = my value", ""}));
}

TEST(IniPut, TrimsTheValueWhetherQuotedOrNot) {
  const TestDocument document;
  EXPECT_EQ(Put(document, "s", "k", "  v ", 34), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = \"v\"", ""}));
}

TEST(IniPut, TakesNullForAnEmptyValue) {
  const TestDocument document;
  EXPECT_EQ(IniPut(document, "s", "k", nullptr, 34), 1);
  EXPECT_EQ(document.value("s", "k"), "");
}

TEST(IniPut, ReplacesTheValueOfAKeyThatExists) {
  const TestDocument document({"[S]", "First = 1", "Key = \"old\"", "Last = 1"});
  EXPECT_EQ(Put(document, "s", " kEY ", "new", 39), 1);
  EXPECT_EQ(document.keys("S"), (Texts{"First", "Key", "Last"})) << "the spelling stays";
  EXPECT_EQ(document.value("S", "Key"), "new");
  EXPECT_EQ(LineAndQuote(document, "S", "Key"), std::make_pair(3, 39));
}

TEST(IniPut, AddsAnEntryInTheSameSectionWithoutMergeDuplicates) {
  const TestDocument document;
  document->mergeDuplicates = 0;
  EXPECT_EQ(Put(document, "s", "k", "1"), 1);
  EXPECT_EQ(Put(document, "S", "K", "2"), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = 1", "K = 2", ""}));
  EXPECT_EQ(document.value("s", "K"), "1") << "the first one is found";
}

TEST(IniPut, ReplacesTheFirstOfSeveralDuplicates) {
  const TestDocument document;
  document->mergeDuplicates = 0;
  for (const char* value : {"1", "2", "3"})
    Put(document, "s", "k", value);
  document->mergeDuplicates = 1;
  EXPECT_EQ(Put(document, "s", "K", "new"), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = new", "k = 2", "k = 3", ""}));
}

TEST(IniPut, TakesAValueThatItStoresAlready) {
  const TestDocument document;
  Put(document, "s", "k", "value");
  const char* stored = nullptr;
  const char* name = nullptr;
  ASSERT_EQ(IniGet(document, "s", "k", &stored), 1);
  ASSERT_EQ(IniNthItemName(document, "s", 1, &name), 1);
  EXPECT_EQ(IniPut(document, "s", name, stored, 34), 1);
  EXPECT_EQ(document.value("s", "k"), "value");
  ASSERT_EQ(IniGetPointerToRawString(document, "s", "k", &stored), 1);
  EXPECT_EQ(IniPutString(document, "s", "k2", stored), 1);
  EXPECT_EQ(document.value("s", "k2"), "value");
}

TEST(IniPut, StoresWhatAFileCannotGiveBack) {
  const TestDocument document;
  EXPECT_EQ(Put(document, "a]b", "k=\n;", "1\n[x]\r2"), 1);
  EXPECT_EQ(document.value("a]b", "k=\n;"), "1\n[x]\r2");
  EXPECT_EQ(document.lines(), (Texts{"[a]b]", "k=\n; = 1\n[x]\r2", ""}));
}

TEST(Names, AreTheSameInAnyCaseAndWithAnyWhiteSpaceAround) {
  const TestDocument document({"[My Section]", "My Key = v"});
  for (const char* section : {"My Section", "MY SECTION", " my section\t\r\n"}) {
    for (const char* key : {"My Key", "mY kEY", "\v\fMY KEY "})
      EXPECT_EQ(document.value(section, key), "v");
  }
  EXPECT_EQ(document.value("My  Section", "My Key"), "(none)");
  EXPECT_EQ(document.value("MySection", "My Key"), "(none)");
}

TEST(Names, AreComparedByteForByteWithCaseSensitive) {
  const TestDocument document({"[S]", "K = v"});
  document->caseSensitive = 1;
  EXPECT_EQ(document.value("S", "K"), "v");
  for (const char* other : {"s", " S", "S ", ""})
    EXPECT_EQ(document.value(other, "K"), "(none)") << other;
  for (const char* other : {"k", " K", "K ", ""})
    EXPECT_EQ(document.value("S", other), "(none)") << other;
}

TEST(Names, FoldTheLettersOfAsciiAlone) {
  UseTestLocales();
  const ScopedLocale german("de_DE.ISO-8859-1");
  const TestDocument document({"[\xc4]", "\xd6[@ = v"});
  EXPECT_EQ(document.value("\xc4", "\xd6[@"), "v");
  EXPECT_EQ(document.value("\xe4", "\xd6[@"), "(none)");
  EXPECT_EQ(document.value("\xc4", "\xf6[@"), "(none)");
  EXPECT_EQ(document.value("\xc4", "\xd6{`"), "(none)");
}

TEST(CaseSensitive, PutsNamesThatDifferInCaseBesideEachOther) {
  const TestDocument document;
  document->caseSensitive = 1;
  Put(document, "s", "k", "1");
  Put(document, "S", "k", "2");
  Put(document, "s", "K", "3");
  Put(document, "s", "K", "4");
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = 1", "K = 4", "", "[S]", "k = 2", ""}));
}

TEST(CaseSensitive, FindsNoNameGivenWithWhiteSpaceAroundSoThatAPutAddsOne) {
  const TestDocument document;
  document->caseSensitive = 1;
  Put(document, "s", "k", "1");
  EXPECT_EQ(Put(document, "s", " k", "2"), 1);
  EXPECT_EQ(Put(document, " s", "k", "3"), 1);
  EXPECT_EQ(document.lines(), (Texts{"[s]", "k = 1", "k = 2", "", "[s]", "k = 3", ""}));
}

TEST(CaseSensitive, MayChangeFromOneCallToTheNext) {
  for (const int count : {1, 200}) {
    const TestDocument document;
    document->caseSensitive = 1;
    for (int i = 0; i < count; ++i) {
      Put(document, "s", "KEY" + std::to_string(i), "upper");
      Put(document, "s", "key" + std::to_string(i), "lower");
    }
    for (int i = 0; i < count; ++i) {
      const std::string number = std::to_string(i);
      document->caseSensitive = 0;
      EXPECT_EQ(document.value("S", "kEy" + number), "upper");
      EXPECT_EQ(document.value("S", "key" + number), "upper");
      document->caseSensitive = 1;
      EXPECT_EQ(document.value("s", "key" + number), "lower");
      EXPECT_EQ(document.value("s", "kEy" + number), "(none)");
    }
  }
}

TEST(LastSection, IsTheSectionThatALookUpFound) {
  const TestDocument document({"[a]", "k = 1", "[b]", "k = 2"});
  EXPECT_EQ(document->lastSection, nullptr);
  document.value("b", "k");
  qvini_Section* const b = document->lastSection;
  EXPECT_STREQ(b->name, "b");
  document.value("c", "k");
  EXPECT_EQ(document->lastSection, b) << "a look-up in vain changes nothing";
  IniNumberOfItems(document, "a");
  EXPECT_STREQ(document->lastSection->name, "a");
  IniNthItemName(document, "b", 9, nullptr);
  EXPECT_EQ(document->lastSection, b);
  IniItemExists(document, "a", "nothing");
  EXPECT_STREQ(document->lastSection->name, "a");
  Put(document, "b", "k", "3");
  EXPECT_EQ(document->lastSection, b);
}

TEST(LastSection, DoesNotBecomeASectionThatAPutMade) {
  const TestDocument document({"[a]", "k = 1"});
  document.value("a", "k");
  Put(document, "new", "k", "2");
  EXPECT_STREQ(document->lastSection->name, "a");
}

TEST(LastSection, IsWhereALookUpBegins) {
  const TestDocument document;
  document->caseSensitive = 1;
  document.read({"[S]", "k = first", "[s]", "k = second"});
  EXPECT_EQ(document.value("s", "k"), "second");
  document->caseSensitive = 0;
  EXPECT_EQ(document.value("S", "k"), "second") << "the section found before matches too";
  document->lastSection = nullptr;
  EXPECT_EQ(document.value("S", "k"), "first");
}

TEST(LastSection, IsForgottenByReading) {
  const TestDocument document({"[a]", "k = 1"});
  document.value("a", "k");
  document.read({"[b]", "k = 1"});
  EXPECT_EQ(document->lastSection, nullptr);
  EXPECT_EQ(document.value("a", "k"), "(none)");
}

TEST(IniGet, GivesTheStoredValue) {
  const TestDocument document({"[s]", "k = \" a \\n \""});
  const char* value = nullptr;
  EXPECT_EQ(IniGet(document, "s", "k", &value), 1);
  EXPECT_STREQ(value, " a \\n ");
}

TEST(IniGet, TellsWhatIsMissingAndLeavesTheValue) {
  const TestDocument document({"[s]", "k = v"});
  const char* value = "untouched";
  EXPECT_EQ(IniGet(document, "s", "x", &value), 0);
  EXPECT_EQ(IniGet(document, "x", "k", &value), 0);
  EXPECT_EQ(IniGet(document, nullptr, "k", &value), 0);
  EXPECT_EQ(IniGet(document, "s", nullptr, &value), 0);
  EXPECT_STREQ(value, "untouched");
  EXPECT_EQ(IniGet(document, "s", "k", nullptr), 1);
}

TEST(IniGet, FindsNothingUnderNoNameInALongDocumentEither) {
  TestDocument document;
  for (int number = 0; number < 40; ++number) {
    const std::string name = std::to_string(number);
    ASSERT_EQ(IniPut(document, name.c_str(), "k", "v", 0), 1);
    ASSERT_EQ(IniPut(document, "s", name.c_str(), "v", 0), 1);
  }
  for (const int caseSensitive : {0, 1}) {
    document->caseSensitive = caseSensitive;
    const char* value = "untouched";
    EXPECT_EQ(IniGet(document, nullptr, "k", &value), 0);
    EXPECT_EQ(IniGet(document, "s", nullptr, &value), 0);
    EXPECT_EQ(IniGet(document, nullptr, nullptr, &value), 0);
    EXPECT_STREQ(value, "untouched");
  }
}

TEST(LastLine, IsThatOfTheEntryFound) {
  const TestDocument document({"", "[s]", "a = 1", "; comment", "b = 2"});
  document.value("s", "b");
  EXPECT_EQ(document->lastLine, 5);
  document.value("s", "a");
  EXPECT_EQ(document->lastLine, 3);
  Put(document, "s", "c", "3");
  EXPECT_EQ(document->lastLine, 3);
  document.value("s", "c");
  EXPECT_EQ(document->lastLine, -1);
}

TEST(LastLine, StaysWhenNothingIsFoundAndWhenTheQuestionIsExistence) {
  const TestDocument document({"[s]", "a = 1", "b = 2"});
  document.value("s", "a");
  document.value("s", "x");
  document.value("x", "a");
  EXPECT_EQ(document->lastLine, 2);
  EXPECT_EQ(IniItemExists(document, "s", "b"), 1);
  EXPECT_EQ(document->lastLine, 2);
}

TEST(LastLine, StaysWhenTheDocumentIsReadAgain) {
  const TestDocument document({"[s]", "a = 1", "b = 2"});
  document.value("s", "b");
  document.read({"[s]"});
  EXPECT_EQ(document->lastLine, 3);
}

TEST(IniItemExists, AsksForSectionAndKey) {
  const TestDocument document({"[s]", "k = v"});
  EXPECT_EQ(IniItemExists(document, "S", "K"), 1);
  EXPECT_EQ(IniItemExists(document, "s", "x"), 0);
  EXPECT_EQ(IniItemExists(document, "x", "k"), 0);
  EXPECT_EQ(IniItemExists(document, nullptr, nullptr), 0);
}

TEST(IniNumberOfItems, CountsTheEntriesOfOneSection) {
  const TestDocument document({"[a]", "[b]", "1 = x", "2 = x"});
  EXPECT_EQ(IniNumberOfItems(document, "a"), 0);
  EXPECT_EQ(IniNumberOfItems(document, "B"), 2);
  EXPECT_EQ(IniNumberOfItems(document, "c"), 0);
  EXPECT_EQ(IniNumberOfItems(document, nullptr), 0);
}

TEST(IniNumberOfItems, IsTheLargestIntWhereThereAreMore) {
  const TestDocument document({"[s]", "k = v"});
  std::size_t& count = qvini_FindSection(document, qvini_Whole("s"))->entries.count;
  for (const std::size_t entries : {std::size_t{INT_MAX}, std::size_t{INT_MAX} + 1}) {
    count = entries;
    EXPECT_EQ(IniNumberOfItems(document, "s"), INT_MAX);
  }
  count = 1;
}

TEST(IniNthItemName, CountsFromOne) {
  const TestDocument document({"[s]", "a = x", "b = x"});
  const char* name = "untouched";
  for (const int n : {0, -1, 3, INT_MAX, INT_MIN})
    EXPECT_EQ(IniNthItemName(document, "s", n, &name), 0) << n;
  EXPECT_EQ(IniNthItemName(document, "x", 1, &name), 0);
  EXPECT_STREQ(name, "untouched");
  EXPECT_EQ(IniNthItemName(document, "s", 1, &name), 1);
  EXPECT_STREQ(name, "a");
  EXPECT_EQ(IniNthItemName(document, "S", 2, &name), 1);
  EXPECT_STREQ(name, "b");
  EXPECT_EQ(IniNthItemName(document, "s", 2, nullptr), 1);
}

TEST(NullDocument, IsRefusedByEveryFunction) {
  const char* text = "untouched";
  int number = 1;
  unsigned natural = 1;
  double real = 1;
  EXPECT_EQ(IniPut(nullptr, "s", "k", "v", 0), -22);
  EXPECT_EQ(IniPutInt(nullptr, "s", "k", 1), -22);
  EXPECT_EQ(IniPutUInt(nullptr, "s", "k", 1), -22);
  EXPECT_EQ(IniPutDouble(nullptr, "s", "k", 1), -22);
  EXPECT_EQ(IniPutBoolean(nullptr, "s", "k", 1), -22);
  EXPECT_EQ(IniPutString(nullptr, "s", "k", "v"), -22);
  EXPECT_EQ(IniPutRawString(nullptr, "s", "k", "v"), -22);
  EXPECT_EQ(IniPutStringWithOptions(nullptr, "s", "k", "v", 1, 1), -22);
  EXPECT_EQ(IniGet(nullptr, "s", "k", &text), 0);
  EXPECT_EQ(IniItemExists(nullptr, "s", "k"), 0);
  EXPECT_EQ(IniNumberOfItems(nullptr, "s"), 0);
  EXPECT_EQ(IniNthItemName(nullptr, "s", 1, &text), 0);
  EXPECT_EQ(IniGetInt(nullptr, "s", "k", &number), 0);
  EXPECT_EQ(IniGetUInt(nullptr, "s", "k", &natural), 0);
  EXPECT_EQ(IniGetDouble(nullptr, "s", "k", &real), 0);
  EXPECT_EQ(IniGetBoolean(nullptr, "s", "k", &number), 0);
  EXPECT_EQ(IniGetPointerToRawString(nullptr, "s", "k", &text), 0);
  EXPECT_EQ(IniGetPointerToString(nullptr, "s", "k", &text), 0);
  EXPECT_EQ(IniReadFromFile(nullptr, "file"), -22);
  EXPECT_EQ(IniWriteToFile(nullptr, "file"), -22);
  EXPECT_EQ(IniRead(
                nullptr, [](void*, char*, std::size_t) { return 0; }, nullptr),
            -22);
  EXPECT_EQ(IniWrite(
                nullptr, [](void*, const char*) { return 0; }, nullptr),
            -22);
  EXPECT_STREQ(text, "untouched");
}

TEST(NullFunctions, AreRefused) {
  const TestDocument document({"[s]", "k = v"});
  EXPECT_EQ(IniRead(document, nullptr, nullptr), -22);
  EXPECT_EQ(document.value("s", "k"), "v");
  EXPECT_EQ(IniWrite(document, nullptr, nullptr), -22);
}

}  // namespace
