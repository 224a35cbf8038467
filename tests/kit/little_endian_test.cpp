#include "kit/little_endian.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "tests/Longs.h"

namespace {

using namespace qv::kit;
using exception::BufferOverflow;
using exception::DeserializationError;
using exception::OutOfRange;
using little_endian::DeserializeRaw;
using little_endian::SerializeRaw;
using testing::ElementsAre;

template <typename T>
std::array<unsigned char, 6> Written(T value, std::ptrdiff_t expectedWidth) {
  std::array<unsigned char, 6> bytes;
  bytes.fill(0xAA);
  unsigned char* cursor = bytes.data();
  SerializeRaw<T>(value, cursor, bytes.data() + bytes.size());
  EXPECT_EQ(cursor - bytes.data(), expectedWidth);
  return bytes;
}

TEST(SerializeRaw, WritesAnUnsignedLongInFourBytesLeastSignificantFirst) {
  EXPECT_THAT(Written<unsigned long>(0x01020304, 4), ElementsAre(4, 3, 2, 1, 0xAA, 0xAA));
  EXPECT_THAT(Written<unsigned long>(0xFFFFFFFF, 4),
              ElementsAre(0xFF, 0xFF, 0xFF, 0xFF, 0xAA, 0xAA));
}

TEST(SerializeRaw, WritesALongInFourBytes) {
  EXPECT_THAT(Written<long>(-2, 4), ElementsAre(0xFE, 0xFF, 0xFF, 0xFF, 0xAA, 0xAA));
  EXPECT_THAT(Written<long>(-2147483647L - 1, 4), ElementsAre(0, 0, 0, 0x80, 0xAA, 0xAA));
}

TEST(SerializeRaw, WritesIntegersOfThirtyTwoBits) {
  EXPECT_THAT(Written<std::int32_t>(-2, 4), ElementsAre(0xFE, 0xFF, 0xFF, 0xFF, 0xAA, 0xAA));
  EXPECT_THAT(Written<std::uint32_t>(0x80000001, 4), ElementsAre(1, 0, 0, 0x80, 0xAA, 0xAA));
}

TEST(SerializeRaw, WritesACharacterInOneByte) {
  EXPECT_THAT(Written<char>('a', 1), ElementsAre(0x61, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA));
  EXPECT_THAT(Written<char>('\xFF', 1), ElementsAre(0xFF, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA));
}

template <typename T>
void ExpectNoRoom(std::ptrdiff_t room) {
  std::array<unsigned char, 6> bytes{};
  unsigned char* const start = bytes.data() + 1;
  unsigned char* cursor = start;
  try {
    SerializeRaw<T>(T{1}, cursor, start + room);
    ADD_FAILURE() << "room " << room;
  } catch (const BufferOverflow& exception) {
    EXPECT_STREQ(exception.what(), "Buffer overflowed");
  }
  EXPECT_EQ(cursor, start);
  EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(SerializeRaw, WithoutRoomWritesNothingAndLeavesTheCursor) {
  ExpectNoRoom<unsigned long>(3);
  ExpectNoRoom<long>(3);
  ExpectNoRoom<std::uint32_t>(0);
  ExpectNoRoom<char>(0);
}

TEST(SerializeRaw, ACursorPastTheEndHasNoRoom) {
  ExpectNoRoom<unsigned long>(-1);
  ExpectNoRoom<char>(-1);
}

TEST(SerializeRaw, ExactRoomIsEnough) {
  std::array<unsigned char, 4> bytes{};
  unsigned char* cursor = bytes.data();
  SerializeRaw<unsigned long>(0x01020304, cursor, bytes.data() + 4);
  EXPECT_EQ(cursor, bytes.data() + 4);
}

template <typename T>
void ExpectTooWide(T value) {
  std::array<unsigned char, 8> bytes{};
  unsigned char* cursor = bytes.data();
  EXPECT_THROW(SerializeRaw<T>(value, cursor, bytes.data() + 8), OutOfRange) << value;
  EXPECT_EQ(cursor, bytes.data());
  EXPECT_THAT(bytes, testing::Each(0));
}

template <typename T>
void ExpectReadBack(T value) {
  std::array<unsigned char, 4> bytes{};
  unsigned char* cursor = bytes.data();
  SerializeRaw<T>(value, cursor, bytes.data() + 4);
  const unsigned char* readCursor = bytes.data();
  T found{};
  DeserializeRaw<T>(found, readCursor, bytes.data() + 4);
  EXPECT_EQ(found, value);
}

TEST(SerializeRaw, WritesALongOfThirtyTwoBitsAndRefusesAnyOther) {
  for (const auto value : LongsAroundTheLimits<long>())
    FitsInt32(value) ? ExpectReadBack(value) : ExpectTooWide(value);
}

TEST(SerializeRaw, WritesAnUnsignedLongOfThirtyTwoBitsAndRefusesAnyOther) {
  for (const auto value : LongsAroundTheLimits<unsigned long>())
    FitsUint32(value) ? ExpectReadBack(value) : ExpectTooWide(value);
}

template <typename T>
T Read(const std::array<unsigned char, 4>& bytes) {
  T value{};
  const unsigned char* cursor = bytes.data();
  DeserializeRaw<T>(value, cursor, bytes.data() + bytes.size());
  EXPECT_EQ(cursor, bytes.data() + 4);
  return value;
}

TEST(DeserializeRaw, ReadsFourBytesLeastSignificantFirst) {
  EXPECT_EQ(Read<unsigned long>({4, 3, 2, 1}), 0x01020304UL);
  EXPECT_EQ(Read<unsigned long>({0xFE, 0xFF, 0xFF, 0xFF}), 0xFFFFFFFEUL);
  EXPECT_EQ(Read<std::uint32_t>({0, 0, 0, 0x80}), 0x80000000U);
}

TEST(DeserializeRaw, ALongHasTheSignOfItsThirtyTwoBits) {
  EXPECT_EQ(Read<long>({0xFE, 0xFF, 0xFF, 0xFF}), -2L);
  EXPECT_EQ(Read<long>({0, 0, 0, 0x80}), -2147483647L - 1);
  EXPECT_EQ(Read<std::int32_t>({5, 0x40, 0, 0x80}), -2147467259);
  EXPECT_EQ(Read<long>({0xFF, 0xFF, 0xFF, 0x7F}), 2147483647L);
}

TEST(DeserializeRaw, WithTooFewBytesLeavesValueAndCursor) {
  const std::array<unsigned char, 5> bytes{1, 2, 3, 4, 5};
  for (const std::ptrdiff_t room : {3, 0, -1}) {
    const unsigned char* const start = bytes.data() + 1;
    const unsigned char* cursor = start;
    long value = 77;
    try {
      DeserializeRaw<long>(value, cursor, start + room);
      ADD_FAILURE() << "room " << room;
    } catch (const DeserializationError& exception) {
      EXPECT_STREQ(exception.what(), "Failed to deserialize");
    }
    EXPECT_EQ(cursor, start);
    EXPECT_EQ(value, 77);
  }
}

}  // namespace
