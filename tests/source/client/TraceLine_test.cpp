#include "source/client/TraceLine.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace qv::traceengine {
namespace {

constexpr std::size_t kLongest = 511;

/// The line that begins with so many characters, with the formatted text behind them.
[[gnu::format(printf, 2, 3)]] std::string Line(std::size_t before, const char* format, ...) {
  TraceLine line;
  line.append(std::string(before, '-').c_str());
  std::va_list arguments;
  va_start(arguments, format);
  line.appendFormatted(format, arguments);
  va_end(arguments);
  return line.text();
}

/// The same by the C library.
[[gnu::format(printf, 2, 3)]] std::string Printed(std::size_t before, const char* format, ...) {
  char text[4096];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return (std::string(before, '-') + text).substr(0, kLongest);
}

#define QV_EXPECT_AS_PRINTED(...)                                    \
  for (const std::size_t before : {0, 400, 500, 505, 509, 510, 511}) \
  EXPECT_EQ(Line(before, __VA_ARGS__), Printed(before, __VA_ARGS__))

TEST(TraceLine, FormatsAsTheCLibraryDoesAndCutsWhatIsTooLong) {
  QV_EXPECT_AS_PRINTED("%s", "");
  QV_EXPECT_AS_PRINTED("nothing to put in");
  QV_EXPECT_AS_PRINTED("%s", "text");
  QV_EXPECT_AS_PRINTED("%s%s", "two ", "in a row");
  QV_EXPECT_AS_PRINTED("a %s b %d c", "text", 17);
  QV_EXPECT_AS_PRINTED("%d and %d", std::numeric_limits<int>::min(),
                       std::numeric_limits<int>::max());
  QV_EXPECT_AS_PRINTED("%d%d", 0, -1);
  QV_EXPECT_AS_PRINTED("%s", std::string(600, 'x').c_str());
  QV_EXPECT_AS_PRINTED("%s and more", std::string(510, 'x').c_str());
  QV_EXPECT_AS_PRINTED("caf\xC3\xA9 \xFF %s", "\x80\xE9");
}

TEST(TraceLine, LeavesEveryOtherFormatToTheCLibrary) {
  QV_EXPECT_AS_PRINTED("100%% of %d", 5);
  // Each by itself: one that is none of the simple ones takes the others along.
  QV_EXPECT_AS_PRINTED("%5d", 17);
  QV_EXPECT_AS_PRINTED("%-5d", 17);
  QV_EXPECT_AS_PRINTED("%05d", 17);
  QV_EXPECT_AS_PRINTED("%+d", 17);
  QV_EXPECT_AS_PRINTED("% d", 17);
  QV_EXPECT_AS_PRINTED("%i", 17);
  QV_EXPECT_AS_PRINTED("%.2s", "text");
  QV_EXPECT_AS_PRINTED("%8s", "text");
  QV_EXPECT_AS_PRINTED("%u", 4000000000U);
  QV_EXPECT_AS_PRINTED("%x", 255U);
  QV_EXPECT_AS_PRINTED("%X", 255U);
  QV_EXPECT_AS_PRINTED("%o", 8U);
  QV_EXPECT_AS_PRINTED("%c", 'c');
  QV_EXPECT_AS_PRINTED("%hd", static_cast<short>(-3));
  QV_EXPECT_AS_PRINTED("%ld", -1L);
  QV_EXPECT_AS_PRINTED("%lld", -20000000000LL);
  QV_EXPECT_AS_PRINTED("%zu", std::size_t{3});
  QV_EXPECT_AS_PRINTED("%ls", L"wide");
  QV_EXPECT_AS_PRINTED("%g", 1.5);
  QV_EXPECT_AS_PRINTED("%p", static_cast<const void*>("somewhere"));
  QV_EXPECT_AS_PRINTED("%s %s %u", "simple", "first", 1U);
}

TEST(TraceLine, HasNullInPlaceOfWhatIsNoText) {
  const char* volatile none = nullptr;
  EXPECT_EQ(Line(0, "%s|%s", none, none), "(null)|(null)");
  EXPECT_EQ(Line(508, "%s", none), std::string(508, '-') + "(nu");
  TraceLine line;
  line.append(nullptr);
  EXPECT_STREQ(line.text(), "(null)");
}

TEST(TraceLine, OfAFormatThatBreaksOffHasWhatTheCLibraryHas) {
  const char* volatile formats[] = {"%", "text %", "%s %", "%y"};
  for (const char* format : formats)
    EXPECT_EQ(Line(3, format, "a"), Printed(3, format, "a")) << format;
}

TEST(TraceLine, OfACharacterThatTheLocaleLacksEndsBeforeIt) {
  EXPECT_EQ(Line(3, "a %ls b", L"\xD800"), "---a ");
  EXPECT_EQ(Line(3, "%ls", L"\xD800"), "---");
}

TEST(TraceLine, FormatsNumbersAndTextsDrawnAtRandomAsTheCLibraryDoes) {
  std::mt19937 random(20);
  for (int round = 0; round < 20000; ++round) {
    const int number = static_cast<int>(random()) >> random() % 32;
    const std::string text(random() % 40, static_cast<char>(' ' + random() % 90));
    const std::size_t before = kLongest - random() % 80;
    ASSERT_EQ(Line(before, "<%s|%d|%s>", text.c_str(), number, "end"),
              Printed(before, "<%s|%d|%s>", text.c_str(), number, "end"));
  }
}

TEST(TraceLine, IsCutAt511Bytes) {
  TraceLine line;
  for (int i = 0; i < 100; ++i)
    line.append("0123456789");
  const std::string text = line.text();
  EXPECT_EQ(text.size(), kLongest);
  EXPECT_EQ(text.substr(0, 12), "012345678901");
  EXPECT_EQ(text.back(), '0');
}

}  // namespace
}  // namespace qv::traceengine
