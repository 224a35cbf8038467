#include "kit/WideToUtf8.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kit/Utf8ToWide.h"
#include "kit/exception/InvalidSequence.h"
#include "tests/ExactBuffer.h"
#include "tests/reference/Utf8.h"

namespace {

// The end of the output is only compared with: callers may have it as a pointer to const.
using Encoder = std::uint32_t (*)(const wchar_t*, const wchar_t*, unsigned char*,
                                  const unsigned char*);
[[maybe_unused]] constexpr Encoder kEncoders[] = {&qv::kit::WideToUtf8,
                                                  &qv::kit::WideToUtf8NoOverflow};

using namespace qv::kit;
using Buffer = ExactBuffer<unsigned char>;
using WideBuffer = ExactBuffer<wchar_t>;
using reference::Bytes;

wchar_t Wide(std::uint32_t value) {
  return static_cast<wchar_t>(value);
}

// The bytes of text, through a buffer of exactly the size that is asked for.
Bytes Encode(const WideBuffer& text) {
  Buffer out(GetUtf8EncodingBytes(text.begin(), text.end()));
  EXPECT_EQ(WideToUtf8(text.begin(), text.end(), out.begin(), out.end()), out.size());
  return out.vector();
}

void ExpectAgreement(const std::vector<wchar_t>& text) {
  ASSERT_EQ(Encode(WideBuffer(text)), reference::Encode(text)) << testing::PrintToString(text);
}

TEST(WideToUtf8, E9IsC3A9) {
  EXPECT_EQ(Encode({0xE9}), (Bytes{0xC3, 0xA9}));
}

TEST(WideToUtf8, ACharacterFrom80000000OnIsASingleQuestionMark) {
  EXPECT_EQ(Encode({Wide(0x80000000)}), (Bytes{'?'}));
  EXPECT_EQ(Encode({Wide(0xFFFFFFFF)}), (Bytes{'?'}));
}

TEST(WideToUtf8, TheLargestCodePointTakesSixBytes) {
  EXPECT_EQ(Encode({0x7FFFFFFF}), (Bytes{0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}));
}

TEST(WideToUtf8, TheLengthGrowsAtEveryBoundary) {
  struct Row {
    std::uint32_t value;
    Bytes bytes;
  };
  const Row rows[] = {
      {0x0, {0x00}},
      {0x7F, {0x7F}},
      {0x80, {0xC2, 0x80}},
      {0x7FF, {0xDF, 0xBF}},
      {0x800, {0xE0, 0xA0, 0x80}},
      {0xFFFF, {0xEF, 0xBF, 0xBF}},
      {0x10000, {0xF0, 0x90, 0x80, 0x80}},
      {0x10FFFF, {0xF4, 0x8F, 0xBF, 0xBF}},
      {0x1FFFFF, {0xF7, 0xBF, 0xBF, 0xBF}},
      {0x200000, {0xF8, 0x88, 0x80, 0x80, 0x80}},
      {0x3FFFFFF, {0xFB, 0xBF, 0xBF, 0xBF, 0xBF}},
      {0x4000000, {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}},
      {0x7FFFFFFF, {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Encode({Wide(row.value)}), row.bytes) << std::hex << row.value;
  }
}

TEST(WideToUtf8, SurrogatesAreEncodedLikeAnyOtherCharacter) {
  EXPECT_EQ(Encode({0xD800}), (Bytes{0xED, 0xA0, 0x80}));
  EXPECT_EQ(Encode({0xDFFF}), (Bytes{0xED, 0xBF, 0xBF}));
}

TEST(WideToUtf8, TheDecoderRefusesTheFiveBytesThatItWritesFrom200000To3FFFFFF) {
  for (const std::uint32_t value : {0x200000U, 0x2345678U, 0x3FFFFFFU}) {
    const Buffer bytes(Encode({Wide(value)}));
    ASSERT_EQ(bytes.size(), 5U);
    EXPECT_THROW(GetUtf8StringLength(bytes.begin(), bytes.end()), exception::InvalidSequence);
  }
}

TEST(WideToUtf8, EncodesTheWholeRangeZeroCharactersIncluded) {
  EXPECT_EQ(Encode({L'a', 0, 0xE9, Wide(0x80000000), L'b'}), (Bytes{'a', 0, 0xC3, 0xA9, '?', 'b'}));
}

TEST(WideToUtf8, WritesNothingForAnEmptyRange) {
  EXPECT_EQ(Encode({}), Bytes());
  EXPECT_EQ(WideToUtf8(nullptr, nullptr, nullptr, nullptr), 0U);
}

TEST(WideToUtf8, StopsBeforeTheFirstCharacterThatDoesNotFitWhole) {
  const WideBuffer text{L'a', 0x20AC, L'b'};
  Buffer out(3);
  EXPECT_EQ(WideToUtf8(text.begin(), text.end(), out.begin(), out.end()), 1U);
  EXPECT_EQ(out.vector(), (Bytes{'a', 0, 0}));
}

TEST(WideToUtf8, ACutIsTheReferencesAtEveryRoom) {
  std::vector<wchar_t> longText(40, L'x');
  for (wchar_t i = 0; i < 60; ++i)
    longText.insert(longText.end(), {0x20 + i, 0xC0 + i, 0x4E00 + i, 0x1F600 + i});
  longText.insert(longText.end(), 70, L'y');
  const std::vector<wchar_t> texts[] = {
      std::vector<wchar_t>(70, L'x'),
      std::vector<wchar_t>(70, Wide(0x7FF)),
      std::vector<wchar_t>(70, Wide(0xFFFF)),
      std::vector<wchar_t>(70, Wide(0x1FFFFF)),
      std::vector<wchar_t>(70, Wide(0x3FFFFFF)),
      std::vector<wchar_t>(70, Wide(0x7FFFFFFF)),
      longText,
      {0x7FFFFFFF, L'a', 0x3FFFFFF, L'b', 0x10000, L'c', 0x800, L'd', 0x80, L'e'},
      {L'1', L'2', L'3', L'4', L'5', L'6', L'7', 0x20AC, L'8', L'9', L'0', L'a', L'b', L'c', L'd',
       L'e', L'f', 0xE9, L'g'},
  };
  for (const auto& characters : texts) {
    const WideBuffer text(characters);
    const std::size_t whole = reference::Encode(characters).size();
    for (std::size_t room = 0; room <= whole + 3; ++room) {
      const Bytes expected = reference::EncodeWithin(characters, room);
      Buffer out(room);
      ASSERT_EQ(WideToUtf8(text.begin(), text.end(), out.begin(), out.end()), expected.size());
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin()));
      ASSERT_EQ(WideToUtf8NoOverflow(text.begin(), text.end(), out.begin(), out.end()),
                expected.size());
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin()));
      EXPECT_EQ(GetUtf8EncodingBytesWithBufferLimit(text.begin(), text.end(),
                                                    static_cast<std::uint32_t>(room)),
                expected.size());
    }
  }
}

TEST(WideToUtf8, AgreesWithTheReferenceAroundEveryBoundaryAndOnASweep) {
  for (const std::uint32_t boundary : {0x0U, 0x80U, 0x800U, 0xD800U, 0xE000U, 0x10000U, 0x110000U,
                                       0x200000U, 0x4000000U, 0x40000000U, 0x80000000U}) {
    for (std::uint32_t offset = 0; offset < 4; ++offset) {
      ExpectAgreement({Wide(boundary + offset)});
      ExpectAgreement({Wide(boundary - offset)});
    }
  }
  for (std::uint64_t value = 0; value <= 0xFFFFFFFF; value += 104729) {
    ExpectAgreement({Wide(static_cast<std::uint32_t>(value))});
  }
}

TEST(WideToUtf8, AgreesWithTheReferenceWithOneOddCharacterAnywhereInARunOfAscii) {
  for (std::size_t length = 1; length < 67; length += 3) {
    for (std::size_t place = 0; place < length; ++place) {
      for (const std::uint32_t odd : {0x0U, 0x7FU, 0x80U, 0x100U, 0x10041U, 0x80000041U}) {
        std::vector<wchar_t> text(length, L'q');
        text[place] = Wide(odd);
        ExpectAgreement(text);
      }
    }
  }
  ExpectAgreement(std::vector<wchar_t>(64, Wide(0x0)));
  ExpectAgreement(std::vector<wchar_t>(64, Wide(0x80)));
}

TEST(WideToUtf8, AgreesWithTheReferenceOnALargeSample) {
  std::mt19937 random(20110402);
  for (int i = 0; i < 15000; ++i) {
    std::vector<wchar_t> text;
    for (std::size_t pieces = random() % 8; pieces > 0; --pieces) {
      if (random() % 3 == 0) {
        text.insert(text.end(), random() % 20, static_cast<wchar_t>(random() % 128));
      } else {
        text.push_back(Wide(static_cast<std::uint32_t>(random()) >> (random() % 32)));
      }
    }
    ExpectAgreement(text);
  }
}

TEST(WideToUtf8, AllocatesTerminatedBytesFromTerminatedText) {
  EXPECT_STREQ(reinterpret_cast<const char*>(WideToUtf8(L"a\u00E9\u20AC").get()),
               "a\xC3\xA9\xE2\x82\xAC");
}

TEST(WideToUtf8, AllocatesTheTerminatorAloneForEmptyOrNullText) {
  EXPECT_EQ(WideToUtf8(L"")[0], 0);
  EXPECT_EQ(WideToUtf8(nullptr)[0], 0);
}

TEST(GetUtf8EncodingBytes, CountsOneForACharacterThatCannotBeEncoded) {
  const WideBuffer text{Wide(0x80000000), 0xE9};
  EXPECT_EQ(GetUtf8EncodingBytes(text.begin(), text.end()), 3U);
}

TEST(GetUtf8EncodingBytesWithBufferLimit, GivesTheCountBeforeTheCharacterThatWouldPassTheLimit) {
  const WideBuffer text{L'a', 0x20AC, L'b'};
  const auto count = [&](std::uint32_t limit) {
    return GetUtf8EncodingBytesWithBufferLimit(text.begin(), text.end(), limit);
  };
  EXPECT_EQ(count(0), 0U);
  EXPECT_EQ(count(1), 1U);
  EXPECT_EQ(count(3), 1U);
  EXPECT_EQ(count(4), 4U);
  EXPECT_EQ(count(5), 5U);
  EXPECT_EQ(count(0xFFFFFFFB), 5U);
  EXPECT_EQ(count(0xFFFFFFFF), 5U);
}

TEST(GetUtf8EncodingBytesWithBufferLimit, CountsRunsOfAsciiToTheByte) {
  const WideBuffer text(std::vector<wchar_t>(70, L'x'));
  for (std::uint32_t limit = 0; limit < 75; ++limit) {
    EXPECT_EQ(GetUtf8EncodingBytesWithBufferLimit(text.begin(), text.end(), limit),
              std::min(limit, 70U));
  }
}

}  // namespace
