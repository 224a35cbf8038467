#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kit/StringBase.h"
#include "tests/kit/StringEdits.h"

// The standard library's string, as the reference that the searching operations are defined by and
// that the others agree with.
namespace {

using qv::kit::CountedString;
using qv::kit::String;
using qv::kit::Utf8String;
using qv::kit::WString;

constexpr std::uint32_t kNoPosition = 0xFFFFFFFFU;

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
    return position == Standard::npos ? kNoPosition : static_cast<std::uint32_t>(position);
  }
  static std::size_t StandardPosition(std::uint32_t position) {
    return position == kNoPosition ? Standard::npos : position;
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
      for (const std::uint32_t position : {0U, 1U, 2U, 3U, 4U, 5U, 0xFFFFFFFEU, kNoPosition}) {
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
    for (const std::uint32_t position : {0U, 1U, 2U, 3U, 4U, 5U, 0xFFFFFFFEU, kNoPosition}) {
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
  const auto letter = [](char ascii) { return static_cast<typename Fixture::Char>(ascii); };
  EXPECT_EQ(string.find(letter('x')), kNoPosition);
  EXPECT_EQ(string.find(letter('o')), 0U);
  EXPECT_EQ(string.rfind(letter('o')), 14U);
  EXPECT_EQ(string.find_first_of(letter('o')), 0U);
  EXPECT_EQ(string.find_last_of(letter('o')), 14U);
  EXPECT_EQ(string.find_first_not_of(letter('n')), 0U);
  EXPECT_EQ(string.find_last_not_of(letter('w')), 14U);
}

TYPED_TEST(StringReference, SearchingDistinguishesCaseAndGoesBeyondZeros) {
  using Fixture = TestFixture;
  const TypeParam string = Fixture::Of(Fixture::Ascii(std::string("a\0Bb\0Bc", 7)));
  EXPECT_EQ(string.find(static_cast<typename Fixture::Char>('b')), 3U);
  EXPECT_EQ(string.find(Fixture::Of(Fixture::Ascii(std::string("\0Bc", 3)))), 4U);
  EXPECT_EQ(string.rfind(static_cast<typename Fixture::Char>('\0')), 4U);
}

/// The numbers of a generator that gives the same ones everywhere.
class RandomChoices {
 public:
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

 private:
  std::mt19937 random_{20210417};  // NOLINT(cert-msc51-cpp): the same edits in every run.
};

TYPED_TEST(StringReference, RandomEditsAgree) {
  RandomChoices choices;
  qv::tests::StringEdits<TypeParam, RandomChoices> strings(choices);
  for (int step = 0; step < 20000 && !testing::Test::HasFailure(); ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    strings.edit();
    strings.ask();
  }
}

}  // namespace
