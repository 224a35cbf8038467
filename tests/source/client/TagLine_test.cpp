#include "source/client/TagLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/ScopedLocale.h"
#include "tests/reference/TagFileReference.h"

namespace {

using qv::tests::ScannedTagLine;
using qv::traceengine::TagLine;

void ExpectAsScanned(const std::string& line) {
  const ScannedTagLine expected(line);
  const TagLine found(line.c_str());
  ASSERT_EQ(found.fields, expected.fields) << line;
  EXPECT_STREQ(found.name, expected.name) << line;
  EXPECT_EQ(found.id, expected.id) << line;
  EXPECT_STREQ(found.value, expected.value) << line;
}

TEST(TagLine, FindsNameNumberAndValue) {
  const TagLine line("  Certificate : 5 : yes and more\n");
  EXPECT_EQ(line.fields, 3);
  EXPECT_STREQ(line.name, "Certificate");
  EXPECT_EQ(line.id, 5);
  EXPECT_STREQ(line.value, "yes");
}

TEST(TagLine, CutsLongTokensAndReadsOnWithWhatIsLeft) {
  const std::string longest(127, 'n');
  const TagLine cut((longest + "n : 5 : yes").c_str());
  EXPECT_EQ(cut.fields, 1);
  EXPECT_EQ(cut.name, longest);
  const TagLine lucky((longest + ": 5 : " + longest + "v").c_str());
  EXPECT_EQ(lucky.fields, 3);
  EXPECT_EQ(lucky.name, longest);
  EXPECT_EQ(lucky.value, longest);
}

TEST(TagLine, TakesEveryIntAndNoOtherNumber) {
  EXPECT_EQ(TagLine("n : 2147483647").fields, 2);
  EXPECT_EQ(TagLine("n : 2147483647").id, 2147483647);
  EXPECT_EQ(TagLine("n : -2147483648").fields, 2);
  EXPECT_EQ(TagLine("n : -2147483648").id, -2147483647 - 1);
  EXPECT_EQ(TagLine("n : 0000000000000000000000000000005 : yes").id, 5);
  for (const char* number : {"2147483648", "-2147483649", "4294967301", "18446744073709551621",
                             "99999999999999999999999"})
    EXPECT_EQ(TagLine(("n : " + std::string(number) + " : yes").c_str()).fields, 1) << number;
}

TEST(TagLine, DoesNotDependOnTheLocale) {
  // Where this locale is there, it calls 0xA0 no blank; what it does call one does not matter.
  const ScopedLocale locale("C.UTF-8");
  for (int c = 1; c < 256; ++c) {
    const std::string text = std::string("a") + static_cast<char>(c) + ": 5";
    const bool blank = c == ' ' || (c >= '\t' && c <= '\r');
    EXPECT_EQ(TagLine(text.c_str()).fields, blank ? 2 : 1) << c;
  }
}

TEST(TagLine, AgreesWithScanfOnLinesThatAreAlmostRight) {
  const char* const names[] = {"Name", "Name:", ":", "", "N:a", "-", "5"};
  const char* const gaps[] = {"", " ", "\t", " \v\f\r\n ", ":", " : ", ": ", " :", "::", " : : "};
  const char* const numbers[] = {"",   "5",  "-5",  "+5", "+ 5", "--5", "5x",  "0x5", "x5",
                                 "05", "5.", "1e3", "-",  "+",   "255", "256", "5'5", "1,0"};
  const char* const values[] = {"", "yes", "yes no", ":", "yes:", "\t yes\n"};
  for (const char* before : {"", " ", "\t\n"})
    for (const char* name : names)
      for (const char* first : gaps)
        for (const char* number : numbers)
          for (const char* second : gaps)
            for (const char* value : values)
              ASSERT_NO_FATAL_FAILURE(
                  ExpectAsScanned(std::string(before) + name + first + number + second + value));
}

TEST(TagLine, AgreesWithScanfOnAnyText) {
  // The generator's numbers are the same everywhere; the distributions' are not.
  std::mt19937 random(2026);
  const std::string common = " :\t59-+ynNames\n";
  for (int i = 0; i < 200000; ++i) {
    std::string line;
    const std::size_t length = random() % 40;
    while (line.size() < length) {
      const auto number = random();
      line +=
          number % 16 == 0 ? static_cast<char>(number >> 8U) : common[number / 16 % common.size()];
    }
    ASSERT_NO_FATAL_FAILURE(ExpectAsScanned(line));
  }
}

TEST(TagLine, AgreesWithScanfOnLongTokens) {
  for (const std::size_t name : {126, 127, 128, 129, 254, 255, 256})
    for (const std::size_t value : {1, 126, 127, 128, 1000})
      for (const char* gap : {" : ", ": ", " :", ":"})
        ASSERT_NO_FATAL_FAILURE(
            ExpectAsScanned(std::string(name, 'n') + gap + "5" + gap + std::string(value, 'v')));
}

}  // namespace
