#include <gtest/gtest.h>

#include <string>

#include "qvini/qvini.h"
#include "tests/qvini/property/Document.h"

using qv::tests::Document;

// Each of these takes hours or minutes when look-ups, duplicates or removals cost more the larger
// the document is; as it should be, it takes a second or two.

namespace {

/// What takes too long shows by its time, of which a sanitizer tells nothing.
#if defined(QV_SANITIZED)
constexpr int kMany = 10000;
#else
constexpr int kMany = 100000;
#endif

std::string Name(int number) {
  return "name " + std::to_string(number);
}

/// A name of 17 letters, one of 131072 that differ in their case alone.
std::string CaseOf(int number) {
  std::string name = "abcdefghijklmnopq";
  for (char& letter : name) {
    if (number % 2 != 0) letter = static_cast<char>(letter - 32);
    number /= 2;
  }
  return name;
}

int Count(const Document& document, const std::string& section) {
  return IniNumberOfItems(document.get(), section.c_str());
}

}  // namespace

TEST(Growth, ManyEntriesOfOneSectionArePutFoundWrittenAndRead) {
  const Document document;
  for (int number = 0; number < kMany; ++number)
    ASSERT_EQ(document.put("s", Name(number), std::to_string(number), kIniUnquoted), 1);
  for (int number = kMany - 1; number >= 0; --number)
    ASSERT_EQ(document.put("S", " NAME " + std::to_string(number) + " ", std::to_string(-number),
                           kIniDoubleQuote),
              1);
  EXPECT_EQ(Count(document, "s"), kMany);

  const Document back;
  ASSERT_EQ(back.read(document.written()), 0);
  EXPECT_EQ(Count(back, "s"), kMany);
  for (int number = kMany - 1; number >= 0; --number) {
    ASSERT_EQ(back.value("s", Name(number)), std::to_string(-number));
    ASSERT_EQ(back->lastLine, number + 2);
    const char* name = nullptr;
    ASSERT_EQ(IniNthItemName(back.get(), "s", number + 1, &name), 1);
    ASSERT_EQ(name, Name(number));
    ASSERT_EQ(IniItemExists(back.get(), "s", ("no " + Name(number)).c_str()), 0);
  }
}

TEST(Growth, ManySectionsArePutFoundWrittenAndRead) {
  const Document document;
  for (int number = 0; number < kMany; ++number)
    ASSERT_EQ(document.put(Name(number), "a", std::to_string(number), kIniUnquoted), 1);
  for (int number = kMany - 1; number >= 0; --number)
    ASSERT_EQ(document.put(Name(number), "b", "1", kIniUnquoted), 1);

  const Document back;
  ASSERT_EQ(back.read(document.written()), 0);
  for (int number = kMany - 1; number >= 0; --number) {
    ASSERT_EQ(back.value(Name(number), "a"), std::to_string(number));
    ASSERT_EQ(Count(back, Name(number)), 2);
    ASSERT_EQ(Count(back, "no " + Name(number)), 0);
  }
}

TEST(Growth, NamesThatDifferInTheirCaseAloneAreManyOrOne) {
  const Document sensitive;
  sensitive->caseSensitive = 1;
  const Document insensitive;
  for (int number = 0; number < kMany; ++number) {
    ASSERT_EQ(sensitive.put("s", CaseOf(number), std::to_string(number), kIniUnquoted), 1);
    ASSERT_EQ(insensitive.put("s", CaseOf(number), std::to_string(number), kIniUnquoted), 1);
  }
  EXPECT_EQ(Count(sensitive, "s"), kMany);
  EXPECT_EQ(Count(insensitive, "s"), 1);
  for (int number = 0; number < kMany; ++number) {
    ASSERT_EQ(sensitive.value("s", CaseOf(number)), std::to_string(number));
    ASSERT_EQ(insensitive.value("s", CaseOf(number)), std::to_string(kMany - 1));
  }
  // The rule may be changed at any time, and then the first of all finds itself.
  sensitive->caseSensitive = 0;
  for (int number = 0; number < kMany; ++number)
    ASSERT_EQ(sensitive.value("s", CaseOf(number)), "0");
}

TEST(Growth, ManyDuplicatesAreAddedAndTheFirstIsFound) {
  const Document document;
  document->mergeDuplicates = 0;
  for (int number = 0; number < kMany; ++number)
    ASSERT_EQ(document.put("s", "same", std::to_string(number), kIniUnquoted), 1);
  EXPECT_EQ(Count(document, "s"), kMany);
  ASSERT_EQ(document.value("s", "same"), "0");
  const std::string text = document.written();

  const Document back;
  back->mergeDuplicates = 0;
  ASSERT_EQ(back.read(text), 0);
  EXPECT_EQ(Count(back, "s"), kMany);
  for (int number = 0; number < kMany; ++number) {
    ASSERT_EQ(back.value("s", "same"), "0");
    ASSERT_EQ(IniItemExists(back.get(), "s", "other"), 0);
  }

  const Document merged;
  ASSERT_EQ(merged.read(text), 0);
  EXPECT_EQ(Count(merged, "s"), 1);
  EXPECT_EQ(merged.value("s", "same"), std::to_string(kMany - 1));
}

TEST(Growth, ManyDuplicateSectionsAreReadAndTheFirstIsFound) {
  std::string text;
  for (int number = 0; number < kMany; ++number)
    text += "[same]\na=" + std::to_string(number) + "\n";
  const Document document;
  document->mergeDuplicates = 0;
  ASSERT_EQ(document.read(text), 0);
  EXPECT_EQ(document.value("same", "a"), "0");
  for (int number = 0; number < kMany; ++number) {
    ASSERT_EQ(IniItemExists(document.get(), "same", "b"), 0);
    ASSERT_EQ(Count(document, "other"), 0);
  }
  document->writeFlags = kIniWriteFewEmptyLines;
  EXPECT_TRUE(document.written() == text);
}

TEST(Growth, LongNamesWithALongCommonBeginningAreMany) {
  const std::string beginning(1000, 'x');
  const Document document;
  document->maxLineLength = kIniNoLineLimit;
  for (int number = 0; number < kMany / 10; ++number)
    ASSERT_EQ(document.put("s", beginning + std::to_string(number), "v", kIniUnquoted), 1);
  const Document back;
  ASSERT_EQ(back.read(document.written()), 0);
  EXPECT_EQ(Count(back, "s"), kMany / 10);
  for (int number = 0; number < kMany / 10; ++number)
    ASSERT_EQ(IniItemExists(back.get(), "s", (beginning + std::to_string(number)).c_str()), 1);
}

TEST(Growth, ManyWrappedValuesAndOneOfManyLinesAreJoined) {
  std::string text = "[many]\n";
  for (int number = 0; number < kMany; ++number)
    text += Name(number) + " Line1=a\n" + Name(number) + " Line2=b\n";
  text += "[one]\n";
  for (int number = 0; number < kMany; ++number)
    text += "long Line" + std::to_string(number + 1) + "=abcdefgh\n";
  const Document document;
  ASSERT_EQ(document.read(text), 0);
  EXPECT_EQ(Count(document, "many"), kMany);
  EXPECT_EQ(Count(document, "one"), 1);
  EXPECT_EQ(document.value("one", "long").size(), 8U * kMany);
  for (int number = 0; number < kMany; ++number)
    ASSERT_EQ(document.value("many", Name(number)), "ab");
  // Names that were joined away are free again.
  EXPECT_EQ(IniItemExists(document.get(), "many", "name 7 Line2"), 0);
  EXPECT_EQ(document.put("many", "name 7 Line2", "c", kIniUnquoted), 1);
  EXPECT_EQ(Count(document, "many"), kMany + 1);
}
