#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "qvini/qvini.h"
#include "tests/qvini/property/Document.h"
#include "tests/reference/IniReference.h"

using qv::tests::Document;
using qv::tests::IniReference;
using qv::tests::IniReferenceEntry;
using qv::tests::IniReferenceSection;

namespace {

struct Item {
  std::string section;
  std::string key;
  std::string value;
  char quote;
};

/// One thing that a file cannot give back: what is put, and what a file of it reads back as.
struct Loss {
  std::string name;  ///< as the reference and the documentation of the format call it
  std::vector<Item> put;
  std::string file;
  std::vector<Item> back;
  unsigned readFlags = 2;
  unsigned writeFlags = 8;
  unsigned maxLineLength = 80;
  int caseSensitive = 0;
};

void PrintTo(const Loss& loss, std::ostream* out) {
  *out << loss.name;
}

const std::string kLong(30, 'v');

const std::vector<Loss> kLosses{
    {"line end in a name", {{"s", "a\nb", "v", 0}}, "[s]\na\nb = v\n\n", {{"s", "b", "v", 0}}},
    {"line end in a name", {{"s\rt", "a", "v", 0}}, "[s\rt]\na = v\n\n", {}},
    {"line end in a value",
     {{"s", "a", "v\nb = w", 34}},
     "[s]\na = \"v\nb = w\"\n\n",
     {{"s", "a", "\"v", 0}, {"s", "b", "w\"", 0}}},
    {"bracket in a section name", {{"s]t", "a", "v", 0}}, "[s]t]\na = v\n\n", {{"s", "a", "v", 0}}},
    {"separator in a key", {{"s", "a=b", "v", 0}}, "[s]\na=b = v\n\n", {{"s", "a", "b = v", 0}}},
    {"separator in a key",
     {{"s", "a:b", "v", 0}},
     "[s]\na:b = v\n\n",
     {{"s", "a", "b = v", 0}},
     10},
    {"separator in a key", {{"s", "a:", "v", 0}}, "[s]\na:=v\n\n", {{"s", "a", "v", 0}}, 10, 0},
    {"key like a header",
     {{"s", "[t]", "v", 0}, {"s", "b", "w", 0}},
     "[s]\n[t] = v\nb = w\n\n",
     {{"t", "b", "w", 0}}},
    {"key like a comment", {{"s", ";a", "v", 0}}, "[s]\n;a = v\n\n", {}},
    {"key like a continuation",
     {{"s", "a Line1", "v", 0}},
     "[s]\na Line1 = v\n\n",
     {{"s", "a", "v", 0}}},
    {"key like a continuation",
     {{"s", "a", kLong, 0}, {"s", "b Line7", "w", 0}},
     "[s]\na Line0001 = vvvvvvvvvvvvvvvvv\na Line0002 = vvvvvvvvvvvvv\nb Line7 = w\n\n",
     {{"s", "a", kLong + "w", 0}},
     2,
     8,
     30},
    {"quotes that reading does not take off",
     {{"s", "a", "v", 34}},
     "[s]\na = \"v\"\n\n",
     {{"s", "a", "\"v\"", 0}},
     0},
    {"quotes that reading does not take off",
     {{"s", "a", "v", 39}},
     "[s]\na = 'v'\n\n",
     {{"s", "a", "'v'", 0}}},
    {"quotes that reading does not take off",
     {{"s", "a", kLong, 39}},
     "[s]\na Line0001 = 'vvvvvvvvvvvvvvv'\na Line0002 = 'vvvvvvvvvvvvvvv'\n\n",
     {{"s", "a", "'vvvvvvvvvvvvvvv''vvvvvvvvvvvvvvv'", 0}},
     2,
     8,
     30},
    {"unquoted empty value", {{"s", "a", "", 0}}, "[s]\na = \n\n", {}},
    {"unquoted value cut at a blank",
     {{"s", "a", "vvvvvvvvvvvvvvvv vvvvvvvvvvvvvvv", 0}},
     "[s]\na Line0001 = vvvvvvvvvvvvvvvv \na Line0002 = vvvvvvvvvvvvvvv\n\n",
     {{"s", "a", "vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvv", 0}},
     2,
     8,
     30},
    {"unquoted value cut at a blank",
     {{"s", "a", "vvvvvvvvvvvvvvvvv vvvvvvvvvvvvvvv", 0}},
     "[s]\na Line0001 = vvvvvvvvvvvvvvvvv\na Line0002 =  vvvvvvvvvvvvvvv\n\n",
     {{"s", "a", "vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvv", 0}},
     2,
     8,
     30},
    {"quotes of the value's own",
     {{"s", "a", "\"v\"", 0}},
     "[s]\na = \"v\"\n\n",
     {{"s", "a", "v", 34}}},
    {"quotes of the value's own",
     {{"s", "a", "\"vvvvvvvvvvvvvvv\"vvvvvvvvvvvvvvv", 0}},
     "[s]\na Line0001 = \"vvvvvvvvvvvvvvv\"\na Line0002 = vvvvvvvvvvvvvvv\n\n",
     {{"s", "a", kLong, 34}},
     2,
     8,
     30},
    {"duplicate names merged",
     {{"s", "a", "v", 0}, {"s", " a", "w", 0}},
     "[s]\na = v\na = w\n\n",
     {{"s", "a", "w", 0}},
     2,
     8,
     80,
     1},
    {"(null) section without read flag 8", {{"(null)", "a", "v", 0}}, "a = v\n\n", {}},
    {"(null) section behind another",
     {{"s", "a", "v", 0}, {"(null)", "b", "w", 0}},
     "[s]\na = v\n\nb = w\n\n",
     {{"s", "a", "v", 0}, {"s", "b", "w", 0}},
     10},
    {"file begins like a byte order mark",
     {{"(null)",
       "\xEF\xBB\xBF"
       "a",
       "v", 0}},
     "\xEF\xBB\xBF"
     "a = v\n\n",
     {{"(null)", "a", "v", 0}},
     10},
};

/// Losses that no put brings about, only a document that was read.
const std::set<std::string> kLossesOfReadDocuments{"unquoted white space at the ends",
                                                   "(null) section without entries"};

IniReference SettingsOf(const Loss& loss) {
  IniReference reference;
  reference.readFlags = loss.readFlags;
  reference.writeFlags = loss.writeFlags;
  reference.maxLineLength = loss.maxLineLength;
  reference.caseSensitive = loss.caseSensitive;
  return reference;
}

class Losses : public testing::TestWithParam<Loss> {};

std::string Documentation() {
  std::ifstream file(QV_INI_FORMAT_DOCUMENTATION);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

TEST_P(Losses, AreThoseOfTheDocumentation) {
  const Loss& loss = GetParam();
  IniReference reference = SettingsOf(loss);
  const Document document(reference);
  for (const Item& item : loss.put) {
    ASSERT_EQ(document.put(item.section, item.key, item.value, item.quote), 1);
    ASSERT_EQ(reference.put(item.section, item.key, item.value, item.quote), 1);
  }
  EXPECT_EQ(reference.losses(), std::set<std::string>{loss.name});
  ASSERT_EQ(document.written(), loss.file);

  const Document back(SettingsOf(loss));
  ASSERT_EQ(back.read(loss.file), 0);
  back->maxLineLength = kIniNoLineLimit;
  back->writeFlags = kIniWriteBlanksAroundEquals;
  const std::string rewritten = back.written();
  for (const Item& item : loss.back) {
    EXPECT_EQ(back.value(item.section, item.key), item.value);
    const std::string quote(item.quote == 0 ? 0 : 1, item.quote);
    const std::string line = "\n" + item.key + " = " + quote + item.value + quote + "\n";
    EXPECT_NE(("\n" + rewritten).find(line), std::string::npos) << rewritten;
  }
  std::set<std::string> sections;
  for (const std::vector<Item>& items : {loss.put, loss.back})
    for (const Item& item : items)
      sections.insert(item.section);
  int count = 0;
  for (const std::string& section : sections)
    count += IniNumberOfItems(back.get(), section.c_str());
  EXPECT_EQ(count, static_cast<int>(loss.back.size()));
}

INSTANTIATE_TEST_SUITE_P(Named, Losses, testing::ValuesIn(kLosses));

TEST(LossesOfReadDocuments, TakeTheBlanksFromTheEndOfAValueJoinedOfQuotedAndUnquotedLines) {
  const Document document;
  ASSERT_EQ(document.read("[s]\na Line1 = v\na Line2 = \"w \"\n"), 0);
  EXPECT_EQ(document.value("s", "a"), "vw ");
  const std::string text = document.written();
  EXPECT_EQ(text, "[s]\na = vw \n\n");
  ASSERT_EQ(document.read(text), 0);
  EXPECT_EQ(document.value("s", "a"), "vw");

  IniReference reference;
  reference.read("[s]\na Line1 = v\na Line2 = \"w \"\n");
  EXPECT_EQ(reference.losses(), std::set<std::string>{"unquoted white space at the ends"});
}

TEST(LossesOfReadDocuments, ForgetAHeaderNamedNullWithoutEntries) {
  const Document document;
  ASSERT_EQ(document.read("[(null)]\n[s]\na = v\n"), 0);
  EXPECT_EQ(document.written(), "\n[s]\na = v\n\n");

  IniReference reference;
  reference.readFlags = 8;
  reference.read("[(null)]\n[s]\na = v\n");
  EXPECT_EQ(reference.losses(), std::set<std::string>{"(null) section without entries"});
}

TEST(LossesOfPuts, AreTheWhiteSpaceAroundNamesAndValuesQuotedOrNot) {
  for (const char quote : {kIniUnquoted, kIniDoubleQuote}) {
    const Document document;
    ASSERT_EQ(document.put("\t s ", " k\v", "\n v w \f", quote), 1);
    EXPECT_EQ(document.value("s", "k"), "v w");
    const std::string mark(quote == 0 ? 0 : 1, quote);
    EXPECT_EQ(document.written(), "[s]\nk = " + mark + "v w" + mark + "\n\n");
  }
}

TEST(LossesOfPuts, AreTheBlanksAroundAnEscapedStringAlone) {
  const Document document;
  ASSERT_EQ(IniPutString(document.get(), "s", "k", "  \t v \n "), 1);
  const char* value = nullptr;
  ASSERT_EQ(IniGetPointerToString(document.get(), "s", "k", &value), 1);
  EXPECT_STREQ(value, "\t v \n");
}

TEST(LossesOfPuts, AreTheBackslashesOfARawStringThatIsGotUnescaped) {
  const Document document;
  ASSERT_EQ(IniPutRawString(document.get(), "s", "k", "a\\b\\n"), 1);
  const char* value = nullptr;
  ASSERT_EQ(IniGetPointerToString(document.get(), "s", "k", &value), 1);
  EXPECT_STREQ(value, "ab\n");
  ASSERT_EQ(IniGetPointerToRawString(document.get(), "s", "k", &value), 1);
  EXPECT_STREQ(value, "a\\b\\n");
}

TEST(LossesOfPuts, AreTheDigitsOfADoubleBehindTheFifteenth) {
  const Document document;
  ASSERT_EQ(IniPutDouble(document.get(), "s", "k", 0.1 + 0.2), 1);
  double value = 0;
  ASSERT_EQ(IniGetDouble(document.get(), "s", "k", &value), 1);
  EXPECT_EQ(value, 0.3);
  EXPECT_NE(value, 0.1 + 0.2);
}

TEST(TheDocumentation, NamesEveryLoss) {
  const std::string documentation = Documentation();
  std::set<std::string> names = kLossesOfReadDocuments;
  for (const Loss& loss : kLosses)
    names.insert(loss.name);
  EXPECT_EQ(names, IniReference::LossNames());
  for (const std::string& name : names)
    EXPECT_NE(documentation.find("| " + name + " |"), std::string::npos) << name;
}
