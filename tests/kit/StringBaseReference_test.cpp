#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kit/StringBase.h"
#include "kit/exception/OutOfRange.h"

// The standard library's string, as the reference that the searching operations are defined by and
// that the others agree with.
namespace {

using qv::kit::BufferStrategy;
using qv::kit::CountedString;
using qv::kit::String;
using qv::kit::Utf8String;
using qv::kit::WString;

constexpr std::uint32_t npos = 0xFFFFFFFFU;

template <typename S>
class StringReference : public testing::Test {
 protected:
  using Char = std::decay_t<decltype(std::declval<S>()[0])>;
  using Standard = std::basic_string<Char>;

  static Standard Ascii(const std::string& text) { return Standard(text.begin(), text.end()); }
  static S Of(const Standard& text) {
    return S(text.data(), static_cast<std::uint32_t>(text.size()));
  }
  static std::uint32_t Position(std::size_t position) {
    return position == Standard::npos ? npos : static_cast<std::uint32_t>(position);
  }
  static std::size_t StandardPosition(std::uint32_t position) {
    return position == npos ? Standard::npos : position;
  }

  /// Every text of up to length letters a and b.
  static std::vector<Standard> TextsUpTo(std::size_t length) {
    std::vector<Standard> texts = {Standard()};
    for (std::size_t i = 0; i < texts.size() && texts[i].size() < length; ++i) {
      for (const char letter : {'a', 'b'})
        texts.push_back(texts[i] + static_cast<Char>(letter));
    }
    return texts;
  }
};

using Forms = testing::Types<WString, String, CountedString, Utf8String>;
TYPED_TEST_SUITE(StringReference, Forms);

TYPED_TEST(StringReference, SearchingAgreesForAllShortTextsAndPositions) {
  using Fixture = TestFixture;
  for (const auto& text : Fixture::TextsUpTo(4)) {
    const TypeParam string = Fixture::Of(text);
    for (const auto& sought : Fixture::TextsUpTo(3)) {
      const TypeParam other = Fixture::Of(sought);
      for (const std::uint32_t position : {0U, 1U, 2U, 3U, 4U, 5U, 0xFFFFFFFEU, npos}) {
        const std::size_t from = Fixture::StandardPosition(position);
        const auto expected = [](std::size_t found) { return Fixture::Position(found); };
        ASSERT_EQ(string.find(other, position), expected(text.find(sought, from)));
        ASSERT_EQ(string.rfind(other, position), expected(text.rfind(sought, from)));
        ASSERT_EQ(string.find_first_of(other, position),
                  expected(text.find_first_of(sought, from)));
        ASSERT_EQ(string.find_first_not_of(other, position),
                  expected(text.find_first_not_of(sought, from)));
        ASSERT_EQ(string.find_last_of(other, position), expected(text.find_last_of(sought, from)));
        ASSERT_EQ(string.find_last_not_of(other, position),
                  expected(text.find_last_not_of(sought, from)));
      }
    }
  }
}

TYPED_TEST(StringReference, SearchingForACharacterAgreesForAllShortTextsAndPositions) {
  using Fixture = TestFixture;
  const auto letter = static_cast<typename Fixture::Char>('b');
  for (const auto& text : Fixture::TextsUpTo(4)) {
    const TypeParam string = Fixture::Of(text);
    for (const std::uint32_t position : {0U, 1U, 2U, 3U, 4U, 5U, 0xFFFFFFFEU, npos}) {
      const std::size_t from = Fixture::StandardPosition(position);
      const auto expected = [](std::size_t found) { return Fixture::Position(found); };
      ASSERT_EQ(string.find(letter, position), expected(text.find(letter, from)));
      ASSERT_EQ(string.rfind(letter, position), expected(text.rfind(letter, from)));
      ASSERT_EQ(string.find_first_of(letter, position), expected(text.find_first_of(letter, from)));
      ASSERT_EQ(string.find_first_not_of(letter, position),
                expected(text.find_first_not_of(letter, from)));
      ASSERT_EQ(string.find_last_of(letter, position), expected(text.find_last_of(letter, from)));
      ASSERT_EQ(string.find_last_not_of(letter, position),
                expected(text.find_last_not_of(letter, from)));
    }
  }
}

TYPED_TEST(StringReference, SearchingTakesPointersAndStartsAtTheUsualEnd) {
  using Fixture = TestFixture;
  const auto text = Fixture::Ascii("one two one two");
  const auto sought = Fixture::Ascii("two");
  const TypeParam string = Fixture::Of(text);
  EXPECT_EQ(string.find(sought.c_str()), 4U);
  EXPECT_EQ(string.rfind(sought.c_str()), 12U);
  EXPECT_EQ(string.find_first_of(sought.c_str()), 0U);
  EXPECT_EQ(string.find_last_of(sought.c_str()), 14U);
  EXPECT_EQ(string.find_first_not_of(sought.c_str()), 1U);
  EXPECT_EQ(string.find_last_not_of(sought.c_str()), 11U);
  EXPECT_EQ(string.find(static_cast<typename Fixture::Char>('x')), npos);
}

TYPED_TEST(StringReference, SearchingDistinguishesCaseAndGoesBeyondZeros) {
  using Fixture = TestFixture;
  const TypeParam string = Fixture::Of(Fixture::Ascii(std::string("a\0Bb\0Bc", 7)));
  EXPECT_EQ(string.find(static_cast<typename Fixture::Char>('b')), 3U);
  EXPECT_EQ(string.find(Fixture::Of(Fixture::Ascii(std::string("\0Bc", 3)))), 4U);
  EXPECT_EQ(string.rfind(static_cast<typename Fixture::Char>('\0')), 4U);
}

/// The same random edits, one after another, on a string and on its reference.
TYPED_TEST(StringReference, RandomEditsAgree) {
  using Fixture = TestFixture;
  using Standard = typename Fixture::Standard;
  std::mt19937 random(20210417);  // NOLINT(cert-msc51-cpp): the same edits in every run.
  const auto below = [&random](std::size_t limit) {
    return static_cast<std::uint32_t>(random() % limit);
  };
  const auto letter = [&below] { return static_cast<typename Fixture::Char>('a' + below(26)); };
  Standard expected;
  TypeParam string;
  for (int step = 0; step < 20000; ++step) {
    const auto size = expected.size();
    const std::uint32_t position = below(size + 1);
    const std::uint32_t count = below(4) == 0 ? npos : below(12);
    const std::size_t standardCount = Fixture::StandardPosition(count);
    Standard text;
    for (std::uint32_t left = below(9); left != 0; --left)
      text += letter();
    const TypeParam other = Fixture::Of(text);
    const auto character = letter();
    const bool isLong = size > 200;
    switch (isLong ? 10 + below(6) : below(16)) {
      case 0:
        string += character;
        expected += character;
        break;
      case 1:
        string.append(other);
        expected.append(text);
        break;
      case 2:
        string.append(string, position, count);
        expected.append(Standard(expected), position, standardCount);
        break;
      case 3:
        string = string + other.c_str();
        expected.append(text);
        break;
      case 4: {
        const std::uint32_t repeated = below(5);
        string.append(repeated, character);
        expected.append(repeated, character);
        break;
      }
      case 5:
        string.replace(position, 0, other);
        expected.insert(position, text);
        break;
      case 6:
        string.replace(position, count, string, position / 2, 7);
        expected.replace(position, standardCount, Standard(expected), position / 2, 7);
        break;
      case 7:
        string = TypeParam(other, string);
        expected.insert(0, text);
        break;
      case 8:
        string.append(string.c_str() + position, static_cast<std::uint32_t>(size) - position);
        expected.append(Standard(expected, position));
        break;
      case 9: {
        const std::uint32_t longer = static_cast<std::uint32_t>(size) + below(7);
        string.resize(longer, character);
        expected.resize(longer, character);
        break;
      }
      case 10:
        string.replace(position, count, other);
        expected.replace(position, standardCount, text);
        break;
      case 11:
        string.erase(position, count);
        expected.erase(position, standardCount);
        break;
      case 12:
        string.erase(position, count,
                     below(2) == 0 ? BufferStrategy::Keep : BufferStrategy::Release);
        expected.erase(position, standardCount);
        break;
      case 13: {
        const std::uint32_t left = below(20) == 0 ? 0 : npos;
        string = string.substr(position, left);
        expected = expected.substr(position, Fixture::StandardPosition(left));
        break;
      }
      case 14:
        string.assign(string.c_str() + position, static_cast<std::uint32_t>(size) - position);
        expected = expected.substr(position);
        break;
      default:
        string.resize(position);
        expected.resize(position);
        break;
    }
    ASSERT_EQ(Standard(string.begin(), string.end()), expected) << "after step " << step;
    ASSERT_EQ(*string.end(), typename Fixture::Char());
    ASSERT_GE(string.capacity(), string.length());
  }
}

}  // namespace
