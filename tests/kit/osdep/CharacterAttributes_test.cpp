#include "kit/osdep/CharacterAttributes.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "kit/exception/InvalidArgument2.h"
#include "tests/ScopedLocale.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;

// Asked before main, in whatever order static initializers run.
const bool kAskedBeforeMain =
    CharacterAttributes<char>().isAlpha('a') && !CharacterAttributes<wchar_t>().isAlpha(L'1');

// The classes of the C locale, as the C standard lists their members.
struct Classes {
  bool isLower, isUpper, isDigit, isXDigit, isSpace, isCntrl, isPunct;

  bool isAlpha() const { return isLower || isUpper; }
  bool isAlnum() const { return isAlpha() || isDigit; }
  bool isGraph() const { return isAlnum() || isPunct; }
};

constexpr char kLower[] = "abcdefghijklmnopqrstuvwxyz";
constexpr char kUpper[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool IsOneOf(std::uint32_t value, const std::string& members) {
  return value > 0 && value < 128 && members.find(static_cast<char>(value)) != std::string::npos;
}

Classes ClassesOf(std::uint32_t value) {
  return {IsOneOf(value, kLower),
          IsOneOf(value, kUpper),
          IsOneOf(value, "0123456789"),
          IsOneOf(value, "0123456789abcdefABCDEF"),
          IsOneOf(value, " \t\n\v\f\r"),
          value < 0x20 || value == 0x7F,
          IsOneOf(value, "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~")};
}

template <typename CharT>
void ExpectClassesOfTheCLocale(const CharacterAttributes<CharT>& attributes, std::uint32_t last) {
  for (std::uint32_t value = 0; value <= last; ++value) {
    SCOPED_TRACE(value);
    const auto character = static_cast<CharT>(value);
    const Classes expected = ClassesOf(value);
    ASSERT_EQ(attributes.isLower(character), expected.isLower);
    ASSERT_EQ(attributes.isUpper(character), expected.isUpper);
    ASSERT_EQ(attributes.isDigit(character), expected.isDigit);
    ASSERT_EQ(attributes.isXDigit(character), expected.isXDigit);
    ASSERT_EQ(attributes.isSpace(character), expected.isSpace);
    ASSERT_EQ(attributes.isCntrl(character), expected.isCntrl);
    ASSERT_EQ(attributes.isPunct(character), expected.isPunct);
    ASSERT_EQ(attributes.isAlpha(character), expected.isAlpha());
    ASSERT_EQ(attributes.isAlnum(character), expected.isAlnum());
    ASSERT_EQ(attributes.isGraph(character), expected.isGraph());
    ASSERT_EQ(attributes.isPrint(character), expected.isGraph() || value == ' ');
    const auto otherCase = static_cast<CharT>(value ^ 0x20U);
    ASSERT_EQ(attributes.toUpper(character), expected.isLower ? otherCase : character);
    ASSERT_EQ(attributes.toLower(character), expected.isUpper ? otherCase : character);
  }
}

TEST(CharacterAttributes, NarrowCharactersHaveTheClassesOfTheCLocale) {
  ExpectClassesOfTheCLocale(CharacterAttributes<char>(), 0xFF);
}

TEST(CharacterAttributes, WideCharactersHaveTheClassesOfTheCLocale) {
  ExpectClassesOfTheCLocale(CharacterAttributes<wchar_t>(), 0x2FFF);
}

TEST(CharacterAttributes, TheDefaultIsTheCLocaleWhateverTheLocaleOfTheProcess) {
  const ScopedLocale utf8("C.UTF-8");
  const std::locale previous = std::locale::global(std::locale("C.UTF-8"));
  ExpectClassesOfTheCLocale(CharacterAttributes<char>(), 0xFF);
  ExpectClassesOfTheCLocale(CharacterAttributes<wchar_t>(), 0x2FF);
  std::locale::global(previous);
}

TEST(CharacterAttributes, ALocaleOfTheGivenNameDecides) {
  const CharacterAttributes<wchar_t> attributes("C.UTF-8");
  EXPECT_TRUE(attributes.isAlpha(L'\u00E9'));
  EXPECT_TRUE(attributes.isAlnum(L'\u00E9'));
  EXPECT_TRUE(attributes.isLower(L'\u00E9'));
  EXPECT_FALSE(attributes.isUpper(L'\u00E9'));
  EXPECT_TRUE(attributes.isUpper(L'\u0416'));
  EXPECT_TRUE(attributes.isPunct(L'\u20AC'));
  EXPECT_TRUE(attributes.isSpace(L'\u2003'));
  EXPECT_FALSE(attributes.isDigit(L'\u0663'));
  EXPECT_TRUE(attributes.isPrint(L'\u65E5'));
  EXPECT_TRUE(attributes.isGraph(L'\u65E5'));
  EXPECT_EQ(attributes.toUpper(L'\u00E9'), L'\u00C9');
  EXPECT_EQ(attributes.toLower(L'\u0416'), L'\u0436');
}

TEST(CharacterAttributes, TheNameCIsTheDefault) {
  ExpectClassesOfTheCLocale(CharacterAttributes<char>("C"), 0xFF);
}

template <typename CharT>
void ExpectRejected(const char* name) {
  std::string reason;
  try {
    const std::locale rejected(name);
  } catch (const std::exception& e) {
    reason = e.what();
  }
  ASSERT_FALSE(reason.empty());
  try {
    const CharacterAttributes<CharT> attributes(name);
    FAIL();
  } catch (const exception::InvalidArgument2& e) {
    EXPECT_EQ(std::string(e.what()), "Invalid argument(s): " + reason);
    EXPECT_EQ(e.getErrorCode(), -1967362033);
    EXPECT_STREQ(e.file(), "kit/osdep/CharacterAttributes.cpp");
  }
}

TEST(CharacterAttributes, ANameThatTheStandardLibraryRejectsThrowsInvalidArgument2WithItsReason) {
  ExpectRejected<char>("no_SUCH.locale");
  ExpectRejected<wchar_t>("no_SUCH.locale");
}

TEST(CharacterAttributes, NoNameAtAllIsRejectedToo) {
  ExpectRejected<char>(nullptr);
  ExpectRejected<wchar_t>(nullptr);
}

TEST(CharacterAttributes, ACopyAnswersTheSame) {
  const CharacterAttributes<wchar_t> copy = CharacterAttributes<wchar_t>("C.UTF-8");
  EXPECT_TRUE(copy.isAlpha(L'\u00E9'));
}

TEST(CharacterAttributes, AnswersBeforeMain) {
  EXPECT_TRUE(kAskedBeforeMain);
}

TEST(GetDefaultSystemLocaleHelper, IsTheClassicLocaleOnceForAllThreads) {
  EXPECT_EQ(GetDefaultSystemLocaleHelper(), std::locale::classic());
  const std::locale* seen[4] = {};
  std::vector<std::thread> threads;
  for (const std::locale*& place : seen) {
    threads.emplace_back([&place] { place = &GetDefaultSystemLocaleHelper(); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::locale* place : seen) {
    EXPECT_EQ(place, &GetDefaultSystemLocaleHelper());
  }
}

}  // namespace
