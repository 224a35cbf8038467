#include "qvini/items.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/qvini/TestDocument.h"

namespace {

using qv::tests::TestDocument;

using Entry = std::unique_ptr<qvini_Entry, decltype(&qvini_DisposeEntry)>;

struct Taken {
  std::string value;
  int quote;
  bool operator==(const Taken& other) const { return value == other.value && quote == other.quote; }
};

Taken TakeQuotes(unsigned flags, const char* value) {
  const Entry entry(IniNewEntryHandleQuotes(flags, qvini_Whole("key"), qvini_TrimmedText(value), 1),
                    &qvini_DisposeEntry);
  return {entry->value, entry->quote};
}

TEST(NewEntry, CopiesNameAndValue) {
  const std::string text = "key=value";
  const Entry entry(qvini_NewEntry({text.data(), 3}, {text.data() + 4, 5}, 39, 12),
                    &qvini_DisposeEntry);
  EXPECT_STREQ(entry->name, "key");
  EXPECT_STREQ(entry->value, "value");
  EXPECT_EQ(entry->quote, 39);
  EXPECT_EQ(entry->line, 12);
}

TEST(NewEntry, MakesAnEmptyValueOfNull) {
  const Entry entry(qvini_NewEntry(qvini_Whole("key"), {nullptr, 0}, 0, 1), &qvini_DisposeEntry);
  EXPECT_STREQ(entry->value, "");
}

TEST(SetValue, ReplacesValueAndQuoteAndNothingElse) {
  const Entry entry(qvini_NewEntry(qvini_Whole("key"), qvini_Whole("value"), 39, 12),
                    &qvini_DisposeEntry);
  for (const char* value : {"a value that is longer", "short", ""}) {
    EXPECT_EQ(qvini_SetValue(entry.get(), qvini_Whole(value), 34), 1);
    EXPECT_STREQ(entry->name, "key");
    EXPECT_STREQ(entry->value, value);
    EXPECT_EQ(entry->quote, 34);
    EXPECT_EQ(entry->line, 12);
  }
}

TEST(SetValue, TakesPartOfTheValueThatItReplaces) {
  const Entry entry(qvini_NewEntry(qvini_Whole("key"), qvini_Whole("value"), 0, 1),
                    &qvini_DisposeEntry);
  EXPECT_EQ(qvini_SetValue(entry.get(), qvini_Whole(entry->value + 1), 0), 1);
  EXPECT_STREQ(entry->value, "alue");
  EXPECT_EQ(qvini_SetValue(entry.get(), qvini_Whole(entry->value + 1), 0), 1);
  EXPECT_STREQ(entry->value, "lue");
}

TEST(IniNewEntryHandleQuotes, TakesOffDoubleQuotesWithFlagTwo) {
  EXPECT_EQ(TakeQuotes(2, R"("word")"), (Taken{"word", 34}));
  EXPECT_EQ(TakeQuotes(0, R"("word")"), (Taken{R"("word")", 0}));
  EXPECT_EQ(TakeQuotes(4, R"("word")"), (Taken{R"("word")", 0}));
  EXPECT_EQ(TakeQuotes(2, "'word'"), (Taken{"'word'", 0}));
}

TEST(IniNewEntryHandleQuotes, TakesOffSingleQuotesWithFlagFour) {
  EXPECT_EQ(TakeQuotes(4, "'word'"), (Taken{"word", 39}));
  EXPECT_EQ(TakeQuotes(6, "'word'"), (Taken{"word", 39}));
  EXPECT_EQ(TakeQuotes(6, R"("word")"), (Taken{"word", 34}));
}

TEST(IniNewEntryHandleQuotes, TakesOffOneLayer) {
  EXPECT_EQ(TakeQuotes(6, R"("'word'")"), (Taken{"'word'", 34}));
  EXPECT_EQ(TakeQuotes(6, R"('"word"')"), (Taken{R"("word")", 39}));
  EXPECT_EQ(TakeQuotes(6, R"(""word"")"), (Taken{R"("word")", 34}));
}

TEST(IniNewEntryHandleQuotes, NeedsAQuoteAtEachEnd) {
  EXPECT_EQ(TakeQuotes(6, R"(")"), (Taken{R"(")", 0}));
  EXPECT_EQ(TakeQuotes(6, "'"), (Taken{"'", 0}));
  EXPECT_EQ(TakeQuotes(6, R"("word)"), (Taken{R"("word)", 0}));
  EXPECT_EQ(TakeQuotes(6, R"(word")"), (Taken{R"(word")", 0}));
  EXPECT_EQ(TakeQuotes(6, R"("word')"), (Taken{R"("word')", 0}));
  EXPECT_EQ(TakeQuotes(6, R"("a" b)"), (Taken{R"("a" b)", 0}));
  EXPECT_EQ(TakeQuotes(6, R"("a" "b")"), (Taken{R"(a" "b)", 34}));
}

TEST(IniNewEntryHandleQuotes, KeepsWhiteSpaceInsideQuotesAndCutsItOutside) {
  EXPECT_EQ(TakeQuotes(2, "  \" a \"\t"), (Taken{" a ", 34}));
  EXPECT_EQ(TakeQuotes(2, R"("")"), (Taken{"", 34}));
  EXPECT_EQ(TakeQuotes(2, R"("  ")"), (Taken{"  ", 34}));
}

TEST(NewSection, HasATrimmedNameAndTheFlagsOfTheDocument) {
  const TestDocument document;
  document->sectionFlags = 77;
  qvini_Section* const section = qvini_NewSection(document, " My Section ", 3);
  EXPECT_STREQ(section->name, "My Section");
  EXPECT_EQ(section->flags, 77);
  EXPECT_EQ(section->line, 3);
  EXPECT_EQ(section->entries.count, 0U);
  qvini_DisposeSection(section);
}

TEST(DisposeItems, AllowsNull) {
  qvini_DisposeEntry(nullptr);
  qvini_DisposeSection(nullptr);
}

TEST(SectionFlags, GoIntoSectionsThatAreReadAndThatArePut) {
  const TestDocument document;
  document->sectionFlags = 5;
  document.read({"[a]", "k = 1"});
  document->sectionFlags = 6;
  IniPut(document, "b", "k", "1", 0);
  IniPut(document, "a", "k", "2", 0);
  EXPECT_EQ(qvini_FindSection(document, qvini_Whole("a"))->flags, 5);
  EXPECT_EQ(qvini_FindSection(document, qvini_Whole("b"))->flags, 6);
}

}  // namespace
