#include "qvini/escapes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/RepeatedText.h"

namespace {

std::string Escape(const std::string& text) {
  char* const escaped = qvini_Escape(text.c_str());
  const std::string result = escaped;
  std::free(escaped);
  return result;
}

std::string Unescape(const std::string& text) {
  std::vector<char> result(text.size() + 1);
  qvini_Unescape(text.c_str(), result.data());
  return result.data();
}

TEST(Escape, WritesLettersForTabLineFeedQuoteAndBackslash) {
  EXPECT_EQ(Escape("a\tb\nc\"d\\e"), R"(a\tb\nc\"d\\e)");
}

TEST(Escape, WritesOtherControlCharactersAsTwoSmallDigits) {
  EXPECT_EQ(Escape("\x01\x0b\r\x1f\x7f"), R"(\x01\x0b\x0d\x1f\x7f)");
}

TEST(Escape, KeepsEverythingElse) {
  EXPECT_EQ(Escape(" '/;[=]:%\x80\xa0\xff"), " '/;[=]:%\x80\xa0\xff");
  EXPECT_EQ(Escape(""), "");
}

#if SIZE_MAX == UINT32_MAX
// With addresses of 64 bits, no address space holds such a text.
TEST(Escape, OfATextWhoseEscapesCouldTakeMoreThanThereAreAddressesGivesNull) {
  const RepeatedText<char> text(SIZE_MAX / 4 + 1, '\x01');
  EXPECT_EQ(qvini_Escape(text.begin()), nullptr);
}
#endif

TEST(Unescape, UndoesWhatEscapeDidToAnyByte) {
  std::string all;
  for (int c = 1; c < 256; ++c)
    all += static_cast<char>(c);
  EXPECT_EQ(Unescape(Escape(all)), all);
  EXPECT_EQ(Unescape(Escape(all + all)), all + all);
}

TEST(Unescape, ReadsDigitsInEitherCase) {
  EXPECT_EQ(Unescape(R"(\x4a\x4A\xfF)"), "JJ\xff");
}

TEST(Unescape, ReadsExactlyTwoDigits) {
  EXPECT_EQ(Unescape(R"(\x414)"), "A4");
}

TEST(Unescape, CopiesAnXWithoutTwoDigitsBehindIt) {
  EXPECT_EQ(Unescape(R"(\xg1)"), "xg1");
  EXPECT_EQ(Unescape(R"(\x1g)"), "x1g");
  EXPECT_EQ(Unescape(R"(\x1)"), "x1");
  EXPECT_EQ(Unescape(R"(\x)"), "x");
  EXPECT_EQ(Unescape(R"(\x\n)"), "x\n");
  EXPECT_EQ(Unescape(R"(\x1\t)"), "x1\t");
}

TEST(Unescape, DropsTheBackslashBeforeAnyOtherCharacter) {
  EXPECT_EQ(Unescape(R"(\a\N\T\X41\ \')"), "aNTX41 '");
  EXPECT_EQ(Unescape(R"(C:\dir)"), "C:dir");
}

TEST(Unescape, CopiesAQuoteWithAndWithoutBackslash) {
  EXPECT_EQ(Unescape(R"(a"b\"c)"), R"(a"b"c)");
  EXPECT_EQ(Unescape(R"(\"n)"), "\"n");
}

TEST(Unescape, TogglesWithEachBackslash) {
  EXPECT_EQ(Unescape(R"(\\n)"), R"(\n)");
  EXPECT_EQ(Unescape(R"(\\\n)"), "\\\n");
  EXPECT_EQ(Unescape(R"(\\\\)"), R"(\\)");
}

TEST(Unescape, DropsABackslashAtTheEnd) {
  EXPECT_EQ(Unescape(R"(a\)"), "a");
  EXPECT_EQ(Unescape(R"(\)"), "");
  EXPECT_EQ(Unescape(R"(\\\)"), R"(\)");
}

TEST(Unescape, EndsTheTextAtAnEscapedNulButReadsOn) {
  char result[16] = "???????????????";
  qvini_Unescape(R"(a\x00b)", result);
  EXPECT_EQ(std::string(result, 4), std::string("a\0b\0", 4));
}

}  // namespace
