#include "kit/Utf8ToWide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kit/exception/BufferOverflow.h"
#include "kit/exception/InvalidSequence.h"
#include "kit/exception/OutOfRange.h"
#include "tests/ExactBuffer.h"
#include "tests/reference/Utf8.h"

namespace {

// The end of the output is only compared with: callers may have it as a pointer to const.
using Decoder = std::uint32_t (*)(const unsigned char*, const unsigned char*, wchar_t*,
                                  const wchar_t*);
[[maybe_unused]] constexpr Decoder kDecoders[] = {&qv::kit::Utf8ToWide,
                                                  &qv::kit::Utf8ToWideNoOverflow};

using namespace qv::kit;
using Buffer = ExactBuffer<unsigned char>;
using WideBuffer = ExactBuffer<wchar_t>;
using reference::Bytes;

constexpr auto kUntouched = static_cast<wchar_t>(0x5A5A5A5A);

// The value of bytes as one whole character.
std::uint32_t Character(const Buffer& bytes) {
  wchar_t character = kUntouched;
  const unsigned char* past = ConvertNextUtf8Character(bytes.begin(), bytes.end(), character);
  EXPECT_EQ(past, bytes.end());
  return static_cast<std::uint32_t>(character);
}

void ExpectInvalid(const Buffer& bytes) {
  wchar_t character = kUntouched;
  EXPECT_THROW(ConvertNextUtf8Character(bytes.begin(), bytes.end(), character),
               exception::InvalidSequence);
  EXPECT_EQ(character, kUntouched);
}

// All of Utf8ToWide.h on one input against the reference.
void ExpectAgreementWithoutTrace(const Bytes& input) {
  const Buffer bytes(input);
  const auto expected = reference::Decode(input);
  if (!expected) {
    EXPECT_THROW(GetUtf8StringLength(bytes.begin(), bytes.end()), exception::InvalidSequence);
    WideBuffer out(input.size());
    EXPECT_THROW(Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()),
                 exception::InvalidSequence);
    return;
  }
  ASSERT_EQ(GetUtf8StringLength(bytes.begin(), bytes.end()), expected->size());
  WideBuffer out(expected->size());
  ASSERT_EQ(Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()), expected->size());
  ASSERT_TRUE(std::equal(out.begin(), out.end(), expected->begin(), [](wchar_t a, std::uint32_t b) {
    return static_cast<std::uint32_t>(a) == b;
  }));
}

void ExpectAgreement(const Bytes& input) {
  SCOPED_TRACE(testing::PrintToString(input));
  ExpectAgreementWithoutTrace(input);
}

void ExpectAgreementOnFirstCharacter(const Bytes& input, const Buffer& bytes) {
  const auto expected = reference::DecodeOne(input, 0);
  wchar_t character = kUntouched;
  const unsigned char* past = nullptr;
  try {
    past = ConvertNextUtf8Character(bytes.begin(), bytes.end(), character);
  } catch (const exception::InvalidSequence&) {
  }
  ASSERT_EQ(past != nullptr, expected.has_value()) << testing::PrintToString(input);
  if (expected) {
    ASSERT_EQ(past, bytes.begin() + expected->length) << testing::PrintToString(input);
    ASSERT_EQ(static_cast<std::uint32_t>(character), expected->value)
        << testing::PrintToString(input);
  }
}

TEST(ConvertNextUtf8Character, ANullPointerGivesZeroAndNull) {
  wchar_t character = kUntouched;
  EXPECT_EQ(ConvertNextUtf8Character(nullptr, nullptr, character), nullptr);
  EXPECT_EQ(character, L'\0');
}

TEST(ConvertNextUtf8Character, TheEndGivesZeroAndThePointerUnchanged) {
  const Buffer bytes{'a'};
  wchar_t character = kUntouched;
  EXPECT_EQ(ConvertNextUtf8Character(bytes.end(), bytes.end(), character), bytes.end());
  EXPECT_EQ(character, L'\0');
}

TEST(ConvertNextUtf8Character, TakesOneCharacterAndLeavesTheRest) {
  const Buffer bytes{0xC3, 0xA9, 'x'};
  wchar_t character = kUntouched;
  EXPECT_EQ(ConvertNextUtf8Character(bytes.begin(), bytes.end(), character), bytes.begin() + 2);
  EXPECT_EQ(character, static_cast<wchar_t>(0xE9));
}

TEST(ConvertNextUtf8Character, AZeroByteIsACharacter) {
  EXPECT_EQ(Character({0}), 0U);
}

TEST(ConvertNextUtf8Character, C3A9IsE9) {
  EXPECT_EQ(Character({0xC3, 0xA9}), 0xE9U);
}

TEST(ConvertNextUtf8Character, OverlongTwoByteFormsAreInvalid) {
  ExpectInvalid({0xC0, 0x80});
  ExpectInvalid({0xC1, 0xBF});
  EXPECT_EQ(Character({0xC2, 0x80}), 0x80U);
}

TEST(ConvertNextUtf8Character, OverlongThreeByteFormsAreInvalid) {
  ExpectInvalid({0xE0, 0x80, 0x80});
  ExpectInvalid({0xE0, 0x9F, 0xBF});
  EXPECT_EQ(Character({0xE0, 0xA0, 0x80}), 0x800U);
}

TEST(ConvertNextUtf8Character, SurrogatesAreAccepted) {
  EXPECT_EQ(Character({0xED, 0xA0, 0x80}), 0xD800U);
  EXPECT_EQ(Character({0xED, 0xBF, 0xBF}), 0xDFFFU);
}

TEST(ConvertNextUtf8Character, OverlongFourByteFormsAreInvalid) {
  ExpectInvalid({0xF0, 0x8F, 0xBF, 0xBF});
  EXPECT_EQ(Character({0xF0, 0x90, 0x80, 0x80}), 0x10000U);
}

TEST(ConvertNextUtf8Character, ValuesAbove10FFFFAreAccepted) {
  EXPECT_EQ(Character({0xF4, 0x90, 0x80, 0x80}), 0x110000U);
  EXPECT_EQ(Character({0xF7, 0xBF, 0xBF, 0xBF}), 0x1FFFFFU);
}

TEST(ConvertNextUtf8Character, SixByteFormsBeginAt4000000) {
  EXPECT_EQ(Character({0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}), 0x4000000U);
  ExpectInvalid({0xFC, 0x83, 0xBF, 0xBF, 0xBF, 0xBF});
  EXPECT_EQ(Character({0xFD, 0x80, 0x80, 0x80, 0x80, 0x80}), 0x40000000U);
  EXPECT_EQ(Character({0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}), 0x7FFFFFFFU);
}

TEST(ConvertNextUtf8Character, TheLeadBytesF8ToFBLeadSixBytesAndGiveTheirLowestBit) {
  EXPECT_EQ(Character({0xF8, 0x84, 0x80, 0x80, 0x80, 0x80}), 0x4000000U);
  EXPECT_EQ(Character({0xF9, 0x84, 0x80, 0x80, 0x80, 0x80}), 0x44000000U);
  EXPECT_EQ(Character({0xFA, 0x84, 0x80, 0x80, 0x80, 0x80}), 0x4000000U);
  EXPECT_EQ(Character({0xFB, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}), 0x7FFFFFFFU);
  ExpectInvalid({0xF8, 0x83, 0xBF, 0xBF, 0xBF, 0xBF});
  ExpectInvalid({0xFB, 0x83, 0xBF, 0xBF, 0xBF, 0xBF});
}

TEST(ConvertNextUtf8Character, AFiveByteSequenceIsInvalid) {
  ExpectInvalid({0xF8, 0x88, 0x80, 0x80, 0x80});
  ExpectInvalid({0xF8, 0x88, 0x80, 0x80, 0x80, 'a'});
}

TEST(ConvertNextUtf8Character, StrayContinuationBytesAndFEAndFFAreInvalid) {
  for (const int lead : {0x80, 0xA0, 0xBF, 0xFE, 0xFF}) {
    ExpectInvalid({static_cast<unsigned char>(lead), 0x80, 0x80, 0x80, 0x80, 0x80});
  }
}

TEST(ConvertNextUtf8Character, ALoneC3AtTheEndIsInvalid) {
  ExpectInvalid({0xC3});
}

TEST(ConvertNextUtf8Character, ASequenceCutAtAnyLengthIsInvalid) {
  const Bytes whole[] = {{0xC3, 0xA9},
                         {0xE2, 0x82, 0xAC},
                         {0xF0, 0x9F, 0x98, 0x80},
                         {0xF8, 0x84, 0x80, 0x80, 0x80, 0x80},
                         {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}};
  for (const Bytes& bytes : whole) {
    for (std::size_t length = 1; length < bytes.size(); ++length) {
      ExpectInvalid(Buffer(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(length))));
    }
  }
}

TEST(ConvertNextUtf8Character, EveryFollowingByteMustBeAContinuationByte) {
  const Bytes whole[] = {{0xC3, 0xA9},
                         {0xE2, 0x82, 0xAC},
                         {0xF0, 0x9F, 0x98, 0x80},
                         {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}};
  for (const Bytes& bytes : whole) {
    for (std::size_t i = 1; i < bytes.size(); ++i) {
      for (const int wrong : {0x00, 0x7F, 0xC0, 0xFF}) {
        Bytes broken = bytes;
        broken[i] = static_cast<unsigned char>(wrong);
        ExpectInvalid(Buffer(broken));
      }
    }
  }
}

TEST(ConvertNextUtf8Character, ThrowsWithItsMessageAndCode) {
  wchar_t character = 0;
  const Buffer bytes{0xFF};
  try {
    ConvertNextUtf8Character(bytes.begin(), bytes.end(), character);
    FAIL();
  } catch (const exception::InvalidSequence& e) {
    EXPECT_STREQ(e.what(), "Invalid UTF8 encoding sequence");
    EXPECT_EQ(e.getErrorCode(), -1967362000);
    EXPECT_STREQ(e.file(), "kit/Utf8ToWide.cpp");
    EXPECT_GT(e.line(), 0U);
  }
}

TEST(ConvertNextUtf8Character, AgreesWithTheReferenceOnEveryOneAndTwoBytes) {
  Buffer one(1);
  Buffer two(2);
  for (unsigned first = 0; first < 256; ++first) {
    *one.begin() = two.begin()[0] = static_cast<unsigned char>(first);
    ExpectAgreementOnFirstCharacter(one.vector(), one);
    for (unsigned second = 0; second < 256; ++second) {
      two.begin()[1] = static_cast<unsigned char>(second);
      ExpectAgreementOnFirstCharacter(two.vector(), two);
    }
  }
}

TEST(ConvertNextUtf8Character, AgreesWithTheReferenceOnLongerSequencesWithBoundaryBytes) {
  constexpr unsigned char kBytes[] = {0x00, 0x7F, 0x80, 0x83, 0x84, 0x8F,
                                      0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF};
  Buffer bytes(6);
  for (unsigned lead = 0xE0; lead < 256; ++lead) {
    bytes.begin()[0] = static_cast<unsigned char>(lead);
    for (const unsigned char second : kBytes) {
      for (const unsigned char third : kBytes) {
        for (const unsigned char later : Bytes{0x7F, 0x80, 0xBF, 0xC0}) {
          std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0x80));
          bytes.begin()[0] = static_cast<unsigned char>(lead);
          bytes.begin()[1] = second;
          bytes.begin()[2] = third;
          for (std::size_t place = 3; place < 6; ++place) {
            bytes.begin()[place] = later;
            ExpectAgreementOnFirstCharacter(bytes.vector(), bytes);
          }
        }
      }
    }
  }
}

TEST(Utf8ToWide, DecodesTheWholeRange) {
  const Buffer bytes{'a', 0xC3, 0xA9, 0, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80};
  WideBuffer out(5);
  EXPECT_EQ(Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()), 5U);
  const std::vector<wchar_t> expected{L'a', 0xE9, 0, 0x20AC, 0x1F600};
  EXPECT_EQ(out.vector(), expected);
}

TEST(Utf8ToWide, WritesNothingForAnEmptyRange) {
  const Buffer bytes{};
  WideBuffer out(0);
  EXPECT_EQ(Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()), 0U);
  EXPECT_EQ(Utf8ToWide(nullptr, nullptr, nullptr, nullptr), 0U);
}

TEST(Utf8ToWide, LeavesTheRoomThatItDoesNotNeed) {
  const Buffer bytes{'a', 'b'};
  WideBuffer out(4);
  std::fill(out.begin(), out.end(), kUntouched);
  EXPECT_EQ(Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()), 2U);
  EXPECT_EQ(out.vector(), (std::vector<wchar_t>{L'a', L'b', kUntouched, kUntouched}));
}

TEST(Utf8ToWide, ThrowsBufferOverflowWhenInputRemains) {
  const Buffer bytes{'a', 'b', 'c'};
  WideBuffer out(2);
  try {
    Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end());
    FAIL();
  } catch (const exception::BufferOverflow& e) {
    EXPECT_STREQ(e.what(), "Buffer overflowed");
    EXPECT_EQ(e.getErrorCode(), -1967362025);
    EXPECT_STREQ(e.file(), "kit/Utf8ToWide.cpp");
  }
  EXPECT_EQ(out.vector(), (std::vector<wchar_t>{L'a', L'b'}));
}

TEST(Utf8ToWide, AFullOutputIsFoundBeforeBadInputBehindIt) {
  const Buffer bytes{'a', 0xFF};
  WideBuffer out(1);
  EXPECT_THROW(Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()),
               exception::BufferOverflow);
}

TEST(Utf8ToWide, ARunOfAsciiOverflowsAtEverySize) {
  for (std::size_t length = 1; length < 40; ++length) {
    const Buffer bytes(Bytes(length, 'x'));
    for (std::size_t room = 0; room < length; ++room) {
      WideBuffer out(room);
      EXPECT_THROW(Utf8ToWide(bytes.begin(), bytes.end(), out.begin(), out.end()),
                   exception::BufferOverflow);
      EXPECT_EQ(out.vector(), std::vector<wchar_t>(room, L'x'));
    }
  }
}

TEST(Utf8ToWide, AgreesWithTheReferenceWithOneOddByteAnywhereInARunOfAscii) {
  for (std::size_t length = 1; length < 67; length += 3) {
    for (std::size_t place = 0; place < length; ++place) {
      for (const int odd : {0x00, 0x7F, 0x80, 0xBF, 0xC3, 0xFF}) {
        Bytes input(length, 'q');
        input[place] = static_cast<unsigned char>(odd);
        ExpectAgreement(input);
      }
    }
  }
}

TEST(Utf8ToWide, AgreesWithTheReferenceOnEveryBoundaryCodePointAndASweep) {
  std::vector<std::uint32_t> values;
  for (const std::uint32_t boundary :
       {0x0U, 0x80U, 0x800U, 0xD800U, 0xE000U, 0x10000U, 0x110000U, 0x200000U, 0x4000000U,
        0x40000000U, 0x44000000U, 0x7FFFFFFFU, 0x80000000U}) {
    for (std::uint32_t offset = 0; offset < 4; ++offset) {
      values.push_back(boundary + offset);
      values.push_back(boundary - offset);
    }
  }
  for (std::uint64_t value = 0; value <= 0x7FFFFFFF; value += 104729) {
    values.push_back(static_cast<std::uint32_t>(value));
  }
  for (const std::uint32_t value : values) {
    Bytes input = reference::EncodeOne(value);
    ExpectAgreement(input);
    input.insert(input.begin(), 9, 'a');
    input.insert(input.end(), 9, 'z');
    ExpectAgreement(input);
  }
}

// Bytes drawn so that well-formed and slightly broken sequences are both common.
Bytes RandomInput(std::mt19937& random, std::size_t mostPieces) {
  Bytes input;
  for (std::size_t pieces = random() % mostPieces; pieces > 0; --pieces) {
    switch (random() % 8) {
      case 0:
        input.insert(input.end(), random() % 20, static_cast<unsigned char>(random() % 128));
        break;
      case 1:
        if (random() % 8 == 0) input.push_back(static_cast<unsigned char>(random() % 256));
        break;
      case 2:
        if (random() % 8 == 0 && !input.empty()) input.pop_back();
        break;
      default: {
        const Bytes character =
            reference::EncodeOne(static_cast<std::uint32_t>(random()) >> (1 + random() % 31));
        input.insert(input.end(), character.begin(), character.end());
      }
    }
  }
  return input;
}

TEST(Utf8ToWide, AgreesWithTheReferenceOnALargeSample) {
  std::mt19937 random(20110401);
  for (int i = 0; i < 20000; ++i) {
    ExpectAgreement(RandomInput(random, i % 256 == 0 ? 150 : 12));
  }
}

// Where text goes on, characters are decoded without looking for its end. They are of up to four or
// up to six bytes: continuation bytes that are too many would hide what is made of those before
// them.
TEST(Utf8ToWide, AgreesWithTheReferenceOnBoundaryBytesBeforeALotOfText) {
  Bytes input(200, 'x');
  for (unsigned lead = 0x80; lead < 256; ++lead) {
    input[0] = static_cast<unsigned char>(lead);
    for (const unsigned char second : Bytes{0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0}) {
      for (const unsigned char third : Bytes{0x7F, 0xBF, 0xC0}) {
        for (const unsigned char later : Bytes{0x7F, 0x80, 0xC0}) {
          input[1] = second;
          input[2] = third;
          for (const int more : {1, 3}) {
            std::fill_n(input.begin() + 3, 3, 'x');
            std::fill_n(input.begin() + 3, more, later);
            ASSERT_NO_FATAL_FAILURE(ExpectAgreementWithoutTrace(input)) << lead << ' ' << +second;
          }
        }
      }
    }
  }
}

TEST(Utf8ToWide, AgreesWithTheReferenceOnAnyNumberOfCharactersOfOneLength) {
  for (const std::uint32_t value : {0x7FU, 0x7FFU, 0xFFFFU, 0x1FFFFFU, 0x7FFFFFFFU}) {
    const Bytes character = reference::EncodeOne(value);
    Bytes input;
    for (int count = 1; count <= 150; ++count) {
      input.insert(input.end(), character.begin(), character.end());
      ASSERT_NO_FATAL_FAILURE(ExpectAgreementWithoutTrace(input)) << value << ' ' << count;
    }
  }
}

TEST(Utf8ToWide, FillsAnyRoomWithAsMuchOfALongTextAsFits) {
  Bytes input;
  std::vector<std::uint32_t> values;
  for (std::uint32_t i = 0; i < 120; ++i) {
    for (const std::uint32_t value : {0x20U + i, 0xC0U + i, 0x4E00U + i, 0x1F600U + i})
      values.push_back(i < 60 ? value : 0x20 + i % 64);
  }
  for (const std::uint32_t value : values) {
    const Bytes character = reference::EncodeOne(value);
    input.insert(input.end(), character.begin(), character.end());
  }
  const Buffer bytes(input);
  for (std::size_t room = 0; room <= values.size(); ++room) {
    WideBuffer out(room);
    ASSERT_EQ(Utf8ToWideNoOverflow(bytes.begin(), bytes.end(), out.begin(), out.end()), room);
    EXPECT_TRUE(std::equal(out.begin(), out.end(), values.begin(), [](wchar_t a, std::uint32_t b) {
      return static_cast<std::uint32_t>(a) == b;
    }));
  }
}

TEST(Utf8ToWide, TakesARangeThatEndsBeforeItBeginsForAnEmptyOne) {
  const Buffer bytes(Bytes(64, 'x'));
  WideBuffer out(64);
  EXPECT_EQ(Utf8ToWide(bytes.end(), bytes.begin(), out.begin(), out.end()), 0U);
  EXPECT_EQ(Utf8ToWideNoOverflow(bytes.begin(), bytes.end(), out.end(), out.begin()), 0U);
  EXPECT_EQ(GetUtf8StringLength(bytes.end(), bytes.begin()), 0U);
}

TEST(Utf8ToWide, AllocatesTerminatedTextFromBytesAndALength) {
  const Buffer bytes{0xC3, 0xA9, 'b', 'c'};
  EXPECT_EQ(std::wstring(Utf8ToWide(bytes.begin(), 3).get()), L"\u00E9b");
}

TEST(Utf8ToWide, AllocatesTheTerminatorAloneForNoBytes) {
  EXPECT_EQ(Utf8ToWide(nullptr, 0)[0], L'\0');
  EXPECT_EQ(Utf8ToWide(nullptr, 7)[0], L'\0');
  const Buffer bytes{'a'};
  EXPECT_EQ(Utf8ToWide(bytes.begin(), 0)[0], L'\0');
}

TEST(Utf8ToWide, TheAllocatedTextKeepsZeroCharacters) {
  const Buffer bytes{'a', 0, 'b'};
  const auto wide = Utf8ToWide(bytes.begin(), 3);
  EXPECT_EQ(std::wstring(wide.get(), 4), std::wstring(L"a\0b\0", 4));
}

TEST(Utf8ToWide, TheAllocatingFormRefusesBadBytes) {
  const Buffer bytes{'a', 0xC3};
  EXPECT_THROW(Utf8ToWide(bytes.begin(), 2), exception::InvalidSequence);
}

TEST(Utf8ToWideNoOverflow, StopsSilentlyWhereTheOutputIsFull) {
  const Buffer bytes{0xC3, 0xA9, 'b', 'c', 0xFF};
  for (std::size_t room = 0; room < 4; ++room) {
    WideBuffer out(room);
    EXPECT_EQ(Utf8ToWideNoOverflow(bytes.begin(), bytes.end(), out.begin(), out.end()), room);
  }
}

TEST(Utf8ToWideNoOverflow, StopsWhereTheInputEnds) {
  const Buffer bytes{0xC3, 0xA9, 'b'};
  WideBuffer out(5);
  EXPECT_EQ(Utf8ToWideNoOverflow(bytes.begin(), bytes.end(), out.begin(), out.end()), 2U);
  EXPECT_EQ(out.begin()[0], static_cast<wchar_t>(0xE9));
  EXPECT_EQ(out.begin()[1], L'b');
}

TEST(Utf8ToWideNoOverflow, RefusesBadBytesThatItReaches) {
  const Buffer bytes{'a', 0xFF};
  WideBuffer out(2);
  EXPECT_THROW(Utf8ToWideNoOverflow(bytes.begin(), bytes.end(), out.begin(), out.end()),
               exception::InvalidSequence);
}

TEST(GetUtf8StringLength, CountsCharactersNotBytes) {
  const Buffer bytes{'a', 0xC3, 0xA9, 0, 0xFC, 0x84, 0x80, 0x80, 0x80, 0x80};
  EXPECT_EQ(GetUtf8StringLength(bytes.begin(), bytes.end()), 4U);
}

TEST(GetUtf8StringLength, OfNothingIsZero) {
  EXPECT_EQ(GetUtf8StringLength(nullptr, nullptr), 0U);
}

TEST(GetUtf8StringLength, RefusesBadBytesAnywhere) {
  const Buffer bytes{'a', 'b', 0xE2, 0x82};
  EXPECT_THROW(GetUtf8StringLength(bytes.begin(), bytes.end()), exception::InvalidSequence);
}

}  // namespace
