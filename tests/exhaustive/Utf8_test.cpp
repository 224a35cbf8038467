#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "kit/StringBase.h"
#include "kit/Utf8ToWide.h"
#include "kit/WideToUtf8.h"
#include "kit/exception/InvalidSequence.h"
#include "kit/exception/OutOfRange.h"
#include "tests/RepeatedText.h"
#include "tests/reference/Utf8.h"

namespace {

using namespace qv::kit;
using reference::Bytes;

// The first character of sequences of three bytes whose first byte lies in the range: of all of
// them, or of each step-th.
void ExpectAgreementOnThreeBytes(unsigned firstLead, unsigned lastLead, unsigned step = 1) {
  Bytes bytes(3);
  const unsigned char* begin = bytes.data();
  for (unsigned lead = firstLead; lead <= lastLead; ++lead) {
    for (unsigned rest = 0; rest < 0x10000; rest += step) {
      bytes[0] = static_cast<unsigned char>(lead);
      bytes[1] = static_cast<unsigned char>(rest >> 8);
      bytes[2] = static_cast<unsigned char>(rest & 0xFF);
      const auto expected = reference::DecodeOne(bytes, 0);
      wchar_t character = 0;
      const unsigned char* past = nullptr;
      try {
        past = ConvertNextUtf8Character(begin, begin + 3, character);
      } catch (const exception::InvalidSequence&) {
      }
      ASSERT_EQ(past != nullptr, expected.has_value()) << lead << ' ' << rest;
      if (expected) {
        ASSERT_EQ(past, begin + expected->length) << lead << ' ' << rest;
        ASSERT_EQ(static_cast<std::uint32_t>(character), expected->value) << lead << ' ' << rest;
      }
    }
  }
}

// Neither asks for what follows. The step is odd and small, so that each second and each third byte
// occurs.
constexpr unsigned kStep = 37;

TEST(ConvertNextUtf8Character, AgreesWithTheReferenceOnASampleOfThreeBytesThatBeginWith00To7F) {
  ExpectAgreementOnThreeBytes(0x00, 0x7F, kStep);
}

TEST(ConvertNextUtf8Character, AgreesWithTheReferenceOnASampleOfThreeBytesThatBeginWith80ToBF) {
  ExpectAgreementOnThreeBytes(0x80, 0xBF, kStep);
}

TEST(ConvertNextUtf8Character, AgreesWithTheReferenceOnThreeBytesThatBeginWithC0ToDF) {
  ExpectAgreementOnThreeBytes(0xC0, 0xDF);
}

TEST(ConvertNextUtf8Character, AgreesWithTheReferenceOnThreeBytesThatBeginWithE0ToFF) {
  ExpectAgreementOnThreeBytes(0xE0, 0xFF);
}

TEST(WideToUtf8, AgreesWithTheReferenceOnEveryCodePointOfUnicode) {
  for (std::uint32_t value = 0; value <= 0x110000; ++value) {
    const auto character = static_cast<wchar_t>(value);
    std::array<unsigned char, 6> out{};
    const std::uint32_t length =
        WideToUtf8(&character, &character + 1, out.data(), out.data() + out.size());
    const Bytes expected = reference::EncodeOne(value);
    ASSERT_EQ(length, expected.size()) << value;
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.begin())) << value;
    wchar_t decoded = 0;
    ASSERT_EQ(ConvertNextUtf8Character(out.data(), out.data() + length, decoded),
              out.data() + length)
        << value;
    ASSERT_EQ(decoded, character);
  }
}

TEST(GetUtf8StringLength, RefusesANumberOfCharactersThatDoesNotFitIn32Bits) {
  const RepeatedText<unsigned char> text(0x100000000, 'a');
  EXPECT_EQ(GetUtf8StringLength(text.begin(), text.end() - 1), 0xFFFFFFFFU);
  EXPECT_THROW(GetUtf8StringLength(text.begin(), text.end()), exception::OutOfRange);
}

TEST(GetUtf8EncodingBytes, RefusesANumberOfBytesThatDoesNotFitIn32Bits) {
  // Six bytes a character: 0xFFFFFFFC for all but the last.
  const RepeatedText<wchar_t> text(715827883, 0x7FFFFFFF);
  EXPECT_EQ(GetUtf8EncodingBytes(text.begin(), text.end() - 1), 4294967292U);
  EXPECT_THROW(GetUtf8EncodingBytes(text.begin(), text.end()), exception::OutOfRange);
}

TEST(GetUtf8EncodingBytesWithBufferLimit, StopsBeforeTheCountPassesTheLimitOrWraps) {
  const RepeatedText<wchar_t> text(715827883, 0x7FFFFFFF);
  EXPECT_EQ(GetUtf8EncodingBytesWithBufferLimit(text.begin(), text.end(), 0xFFFFFFFB), 4294967286U);
  EXPECT_EQ(GetUtf8EncodingBytesWithBufferLimit(text.begin(), text.end(), 0xFFFFFFFF), 4294967292U);
}

TEST(StringSerialization, OfWideTextTooLongForItsCountIsSizedUpToTheLastCharacterThatFits) {
  const RepeatedText<wchar_t> text(715827883, 0x7FFFFFFF);
  // A string over this text, by the three pointers that are the layout of every string. It is never
  // destroyed, for its storage was not allocated.
  const wchar_t* const pointers[] = {text.begin(), text.end(), text.end()};
  static_assert(sizeof(pointers) == sizeof(WString));
  alignas(WString) unsigned char object[sizeof(WString)];
  std::memcpy(object, pointers, sizeof(object));
  EXPECT_EQ(std::launder(reinterpret_cast<const WString*>(object))->serializationSize(),
            4294967290U);
}

}  // namespace
