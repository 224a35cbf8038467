#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/StringBase.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/InvalidSequence.h"
#include "tests/kit/AsciiText.h"

namespace {

using qv::kit::CountedString;
using qv::kit::String;
using qv::kit::Utf8String;
using qv::kit::WString;
using qv::kit::exception::BufferOverflow;
using qv::kit::exception::DeserializationError;
using qv::kit::exception::InvalidSequence;
using qv::tests::FromAscii;
using qv::tests::ToAscii;
using testing::ElementsAre;

using Bytes = std::vector<unsigned char>;

template <typename S>
Bytes Serialized(const S& string) {
  Bytes bytes(string.serializationSize(), 0xEE);
  unsigned char* cursor = bytes.data();
  string.serialize(cursor, bytes.data() + bytes.size());
  EXPECT_EQ(cursor, bytes.data() + bytes.size());
  return bytes;
}

/// Reads string from all of bytes, or leaves both alone.
template <typename S>
void Deserialize(S& string, const Bytes& bytes) {
  const unsigned char* const end = bytes.data() + bytes.size();
  const unsigned char* cursor = bytes.data();
  try {
    string.deserialize(cursor, end);
  } catch (...) {
    EXPECT_EQ(cursor, bytes.data());
    throw;
  }
  EXPECT_EQ(cursor, end);
}

TEST(StringSerialization, WideTextIsItsCountOfUtf8BytesAndTheBytes) {
  EXPECT_THAT(Serialized(WString(L"\u00E9")), ElementsAre(0x02, 0, 0, 0, 0xC3, 0xA9));
  EXPECT_EQ(WString(L"\u00E9").serializationSize(), 6U);
  EXPECT_THAT(Serialized(WString(L"a\0b", 3)), ElementsAre(0x03, 0, 0, 0, 'a', 0, 'b'));
}

TEST(StringSerialization, WideTextWritesAQuestionMarkForWhatHasNoBytes) {
  const wchar_t text[] = {static_cast<wchar_t>(0x80000000U), 0};
  EXPECT_THAT(Serialized(WString(text)), ElementsAre(0x01, 0, 0, 0, '?'));
}

TEST(StringSerialization, NarrowTextIsItsCountAndItsBytes) {
  EXPECT_THAT(Serialized(String("a\xE9")), ElementsAre(0x02, 0, 0, 0, 'a', 0xE9));
}

TEST(StringSerialization, CountedTextCountsAndWritesItsTerminator) {
  EXPECT_THAT(Serialized(CountedString("a\xE9")), ElementsAre(0x03, 0, 0, 0, 'a', 0xE9, 0));
  EXPECT_THAT(Serialized(CountedString()), ElementsAre(0x01, 0, 0, 0, 0));
}

TEST(StringSerialization, Utf8TextIsItsCountAndItsBytesValidOrNot) {
  const unsigned char text[] = {0xC3, 0xA9, 0xFF, 0};
  EXPECT_THAT(Serialized(Utf8String(text)), ElementsAre(0x03, 0, 0, 0, 0xC3, 0xA9, 0xFF));
  Utf8String read;
  Deserialize(read, {0x03, 0, 0, 0, 0xC3, 0xA9, 0xFF});
  EXPECT_EQ(read.length(), 3U);
  EXPECT_EQ(read[2], 0xFF);
}

TEST(StringSerialization, TheCountIsLittleEndian) {
  const Bytes bytes = Serialized(String(0x010203, 'x'));
  EXPECT_THAT(Bytes(bytes.begin(), bytes.begin() + 4), ElementsAre(0x03, 0x02, 0x01, 0x00));
}

template <typename S>
class SerializedString : public testing::Test {};

using Forms = testing::Types<WString, String, CountedString, Utf8String>;
TYPED_TEST_SUITE(SerializedString, Forms);

TYPED_TEST(SerializedString, IsReadBackAsItWas) {
  for (const std::string_view text : {std::string_view(), std::string_view("quay"),
                                      std::string_view("a\0b", 3), std::string_view("\0", 1)}) {
    const auto original = FromAscii<TypeParam>(text);
    auto read = FromAscii<TypeParam>("something else");
    Deserialize(read, Serialized(original));
    EXPECT_EQ(ToAscii(read), text);
    EXPECT_EQ(*read.end(), 0);
  }
}

TYPED_TEST(SerializedString, IsNotWrittenWhereOneByteIsMissing) {
  const auto string = FromAscii<TypeParam>("quay");
  const std::uint32_t size = string.serializationSize();
  for (std::uint32_t room = 0; room < size; ++room) {
    Bytes bytes(size, 0xEE);
    unsigned char* cursor = bytes.data();
    try {
      string.serialize(cursor, bytes.data() + room);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const BufferOverflow& refusal) {
      EXPECT_STREQ(refusal.what(), "Buffer overflowed");
      EXPECT_STREQ(refusal.file(), "kit/StringBase.cpp");
    }
    EXPECT_EQ(cursor, bytes.data());
    EXPECT_THAT(bytes, testing::Each(0xEE));
  }
}

TYPED_TEST(SerializedString, IsNotWrittenPastTheEnd) {
  Bytes bytes(40);
  unsigned char* cursor = bytes.data() + 30;
  EXPECT_THROW(TypeParam().serialize(cursor, bytes.data() + 10), BufferOverflow);
  EXPECT_EQ(cursor, bytes.data() + 30);
}

TYPED_TEST(SerializedString, IsNotReadWhereOneByteIsMissing) {
  const Bytes whole = Serialized(FromAscii<TypeParam>("quay"));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    auto string = FromAscii<TypeParam>("reef");
    // A copy of its own for each size, so that a byte past the end is seen by the sanitizer.
    const Bytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    try {
      Deserialize(string, bytes);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const DeserializationError& refusal) {
      EXPECT_STREQ(refusal.what(), "Failed to deserialize");
      EXPECT_STREQ(refusal.file(), "kit/StringBase.cpp");
    }
    EXPECT_EQ(ToAscii(string), "reef");
  }
}

TYPED_TEST(SerializedString, IsNotReadWithACountNear2ToThe32) {
  auto string = FromAscii<TypeParam>("reef");
  EXPECT_THROW(Deserialize(string, {0xFF, 0xFF, 0xFF, 0xFF, 'a', 0}), DeserializationError);
  EXPECT_THROW(Deserialize(string, {0xFC, 0xFF, 0xFF, 0xFF, 'a', 0}), DeserializationError);
  EXPECT_EQ(ToAscii(string), "reef");
}

TYPED_TEST(SerializedString, IsNotReadPastTheEnd) {
  const Bytes bytes(40);
  auto string = FromAscii<TypeParam>("reef");
  const unsigned char* cursor = bytes.data() + 30;
  EXPECT_THROW(string.deserialize(cursor, bytes.data() + 10), DeserializationError);
  EXPECT_EQ(cursor, bytes.data() + 30);
}

TYPED_TEST(SerializedString, WithACountOfZeroLeavesAnEmptyString) {
  auto string = FromAscii<TypeParam>("reef");
  Deserialize(string, {0, 0, 0, 0});
  EXPECT_EQ(ToAscii(string), "");
  EXPECT_EQ(*string.c_str(), 0);
}

TYPED_TEST(SerializedString, FollowsAnotherInTheSameBuffer) {
  Bytes bytes = Serialized(FromAscii<TypeParam>("ebb"));
  const Bytes second = Serialized(FromAscii<TypeParam>("flood"));
  bytes.insert(bytes.end(), second.begin(), second.end());
  TypeParam a;
  TypeParam b;
  const unsigned char* cursor = bytes.data();
  a.deserialize(cursor, bytes.data() + bytes.size());
  b.deserialize(cursor, bytes.data() + bytes.size());
  EXPECT_EQ(ToAscii(a), "ebb");
  EXPECT_EQ(ToAscii(b), "flood");
  EXPECT_EQ(cursor, bytes.data() + bytes.size());
}

TYPED_TEST(SerializedString, KeepsStorageOfUpToTwiceTheCharactersRead) {
  const Bytes four = Serialized(FromAscii<TypeParam>("quay"));
  for (const auto& [before, after] :
       {std::pair(3U, 4U), std::pair(4U, 4U), std::pair(8U, 8U), std::pair(9U, 4U)}) {
    TypeParam string(before, 'x');
    Deserialize(string, four);
    EXPECT_EQ(ToAscii(string), "quay");
    EXPECT_EQ(string.capacity(), after);
  }
}

TYPED_TEST(SerializedString, IsReadFromItsOwnStorageAsIfTheBytesHadBeenCopied) {
  for (const std::string_view text : {std::string_view("quay"), std::string_view("breakwater")}) {
    const Bytes bytes = Serialized(FromAscii<TypeParam>(text));
    // With room to spare the storage shrinks under the bytes; with little the characters overtake
    // them.
    for (const std::uint32_t capacity : {200U, 24U}) {
      for (std::size_t place = 0; place + bytes.size() <= capacity; ++place) {
        TypeParam string(capacity, 'x');
        auto* const storage = reinterpret_cast<unsigned char*>(string.begin());
        std::copy(bytes.begin(), bytes.end(), storage + place);
        const unsigned char* cursor = storage + place;
        string.deserialize(cursor, cursor + bytes.size());
        ASSERT_EQ(ToAscii(string), text) << "capacity " << capacity << ", place " << place;
        ASSERT_EQ(*string.end(), 0);
      }
    }
  }
}

TEST(StringSerialization, WideTextSizesItsStorageByCharactersNotBytes) {
  WString string;
  Deserialize(string, {0x05, 0, 0, 0, 0xC3, 0xA9, 0xE2, 0x82, 0xAC});
  EXPECT_EQ(std::wstring(string.c_str()), L"\u00E9\u20AC");
  EXPECT_EQ(string.capacity(), 2U);
}

TEST(StringSerialization, WideTextThatIsNotUtf8ThrowsInvalidSequenceAndChangesNothing) {
  for (const Bytes& bytes : {Bytes{0x02, 0, 0, 0, 'a', 0xFF}, Bytes{0x02, 0, 0, 0, 'a', 0xC3},
                             Bytes{0x02, 0, 0, 0, 0xC0, 0x80}}) {
    WString string(L"reef");
    try {
      Deserialize(string, bytes);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const InvalidSequence& refusal) {
      EXPECT_STREQ(refusal.what(), "Invalid UTF8 encoding sequence");
      EXPECT_STREQ(refusal.file(), "kit/StringBase.cpp");
      EXPECT_NE(refusal.line(), 0U);
    }
    EXPECT_EQ(ToAscii(string), "reef");
  }
}

TEST(StringSerialization, WideTextDoesNotTakeBytesThatFollowItsOwn) {
  const Bytes bytes = {0x01, 0, 0, 0, 0xC3, 0xA9};
  WString string;
  EXPECT_THROW(Deserialize(string, bytes), InvalidSequence);
}

TEST(StringSerialization, CodePointsThatTakeFiveBytesAreWrittenButNotReadBack) {
  const wchar_t text[] = {0x200000, 0};
  const Bytes bytes = Serialized(WString(text));
  EXPECT_THAT(bytes, ElementsAre(0x05, 0, 0, 0, 0xF8, 0x88, 0x80, 0x80, 0x80));
  WString string;
  EXPECT_THROW(Deserialize(string, bytes), InvalidSequence);
}

TEST(StringSerialization, CountedTextWithoutTerminatorThrowsDeserializationErrorAndChangesNothing) {
  for (const Bytes& bytes : {Bytes{0x02, 0, 0, 0, 'a', 'b'}, Bytes{0x01, 0, 0, 0, 'a', 0}}) {
    CountedString string("reef");
    try {
      Deserialize(string, bytes);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const DeserializationError& refusal) {
      EXPECT_STREQ(refusal.what(), "Failed to deserialize");
      EXPECT_STREQ(refusal.file(), "kit/StringBase.cpp");
      EXPECT_NE(refusal.line(), 0U);
    }
    EXPECT_EQ(ToAscii(string), "reef");
  }
}

TEST(StringSerialization, CountedTextDropsOnlyItsTerminator) {
  CountedString string;
  Deserialize(string, {0x03, 0, 0, 0, 'a', 0, 0});
  EXPECT_EQ(ToAscii(string), std::string("a\0", 2));
  Deserialize(string, {0x01, 0, 0, 0, 0});
  EXPECT_EQ(ToAscii(string), "");
}

}  // namespace
