#include "kit/AutoBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "kit/exception/BufferOverflow.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/OutOfRange.h"
#include "tests/reference/SerializedForms.h"

namespace {

using namespace qv::kit;
using exception::BufferOverflow;
using exception::DeserializationError;
using exception::OutOfRange;
using reference::RingWith;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Bytes = std::vector<unsigned char>;

AutoBuffer Holding(const std::string& text) {
  AutoBuffer buffer;
  buffer.Append(text.data(), text.size());
  return buffer;
}

std::string Text(const AutoBuffer& buffer) {
  return std::string(reinterpret_cast<const char*>(buffer.Data()), buffer.Len());
}

bool Share(const AutoBuffer& a, const AutoBuffer& b) {
  return a.Data() != nullptr && a.Data() == b.Data();
}

TEST(AutoBuffer, HoldsOnePointer) {
  EXPECT_EQ(sizeof(AutoBuffer), sizeof(void*));
}

TEST(AutoBuffer, StartsWithoutStorage) {
  AutoBuffer buffer;
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(std::as_const(buffer).Data(), nullptr);
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(buffer.Capacity(), 0U);
}

TEST(AutoBuffer, OfACapacityIsEmptyWithExactlyThat) {
  const AutoBuffer buffer(100);
  EXPECT_NE(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(buffer.Capacity(), 100U);
  EXPECT_EQ(AutoBuffer(0).Capacity(), 0U);
}

TEST(AutoBuffer, OfAWrapperHasACopyOfItsBytes) {
  const char text[] = "abc";
  const AutoBuffer buffer(BufferWrapper(text, 3));
  EXPECT_EQ(Text(buffer), "abc");
  EXPECT_NE(static_cast<const void*>(buffer.Data()), text);
  EXPECT_EQ(buffer.Capacity(), 131U);
}

TEST(AutoBuffer, OfAnEmptyWrapperHasNoStorage) {
  const AutoBuffer buffer{BufferWrapper()};
  EXPECT_EQ(buffer.Data(), nullptr);
}

// Sharing.

TEST(AutoBufferCopy, SharesTheStorage) {
  const AutoBuffer original = Holding("abc");
  const AutoBuffer constructed(original);
  AutoBuffer assigned = Holding("xyz");
  assigned = original;
  EXPECT_TRUE(Share(original, constructed));
  EXPECT_TRUE(Share(original, assigned));
}

TEST(AutoBufferCopy, OfNoStorageHasNone) {
  const AutoBuffer none;
  AutoBuffer assigned = Holding("xyz");
  assigned = none;
  EXPECT_EQ(assigned.Data(), nullptr);
  EXPECT_EQ(AutoBuffer(none).Data(), nullptr);
}

TEST(AutoBufferCopy, ReadingNeverSeparates) {
  AutoBuffer original = Holding("abc");
  AutoBuffer copy(original);
  EXPECT_EQ(copy.Data(), original.Data());
  EXPECT_EQ(copy.Len(), original.Len());
  EXPECT_TRUE(copy == original);
  EXPECT_TRUE(Share(copy, original));
}

TEST(AutoBufferCopy, OutlivesTheOriginal) {
  AutoBuffer copy;
  {
    const AutoBuffer original = Holding("abc");
    copy = original;
  }
  EXPECT_EQ(Text(copy), "abc");
}

TEST(AutoBufferAssignment, OfItselfOrOfASharerChangesNothing) {
  AutoBuffer buffer = Holding("abc");
  AutoBuffer sharer(buffer);
  const AutoBuffer& same = buffer;
  buffer = same;
  buffer = sharer;
  EXPECT_TRUE(Share(buffer, sharer));
  sharer.Free();
  EXPECT_EQ(Text(buffer), "abc");
}

TEST(AutoBufferAssignment, OfAWrapperReplacesTheBytes) {
  AutoBuffer buffer = Holding("abc");
  const AutoBuffer sharer(buffer);
  buffer = BufferWrapper("xy", 2);
  EXPECT_EQ(Text(buffer), "xy");
  EXPECT_EQ(buffer.Capacity(), 130U);
  EXPECT_EQ(Text(sharer), "abc");
  buffer = BufferWrapper();
  EXPECT_EQ(buffer.Data(), nullptr);
}

TEST(AutoBufferAssignment, OfAWrapperOfItselfKeepsItsBytes) {
  AutoBuffer buffer = Holding("abcdef");
  buffer = BufferWrapper(buffer);
  EXPECT_EQ(Text(buffer), "abcdef");
  buffer = BufferWrapper(buffer.Data() + 2, 3);
  EXPECT_EQ(Text(buffer), "cde");
}

TEST(AutoBufferFree, LetsGoOfTheStorage) {
  AutoBuffer buffer = Holding("abc");
  const AutoBuffer sharer(buffer);
  buffer.Free();
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(Text(sharer), "abc");
  buffer.Free();
}

// Copy on write, the same for every operation that changes.

struct Change {
  const char* name;
  void (*apply)(AutoBuffer&);
  const char* result;
};

class AutoBufferChange : public testing::TestWithParam<Change> {};

TEST_P(AutoBufferChange, OfACopySeparatesItAndLeavesTheOriginal) {
  const AutoBuffer original = Holding("abc");
  AutoBuffer copy(original);
  GetParam().apply(copy);
  EXPECT_FALSE(Share(original, copy));
  EXPECT_EQ(Text(original), "abc");
  EXPECT_EQ(Text(copy), GetParam().result);
  EXPECT_EQ(original.Capacity(), 131U);
}

TEST_P(AutoBufferChange, OfTheOriginalSeparatesItAndLeavesTheCopy) {
  AutoBuffer original = Holding("abc");
  const AutoBuffer copy(original);
  GetParam().apply(original);
  EXPECT_FALSE(Share(original, copy));
  EXPECT_EQ(Text(copy), "abc");
  EXPECT_EQ(Text(original), GetParam().result);
}

TEST_P(AutoBufferChange, OfAnUnsharedBufferWithRoomKeepsTheStorage) {
  AutoBuffer buffer(2000);
  buffer.Append("abc", 3);
  const unsigned char* const storage = buffer.Data();
  GetParam().apply(buffer);
  EXPECT_EQ(buffer.Data(), storage);
  EXPECT_EQ(buffer.Capacity(), 2000U);
  EXPECT_EQ(Text(buffer), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    EachOperation, AutoBufferChange,
    testing::Values(
        Change{"Reserve", [](AutoBuffer& buffer) { buffer.Reserve(1000); }, "abc"},
        Change{"Append", [](AutoBuffer& buffer) { buffer.Append("de", 2); }, "abcde"},
        Change{"AppendReverse", [](AutoBuffer& buffer) { buffer.appendReverseByteOrder("de", 2); },
               "abced"},
        Change{"Modify", [](AutoBuffer& buffer) { buffer.Modify(1, "X", 1); }, "aXc"},
        Change{"ModifyNothing", [](AutoBuffer& buffer) { buffer.Modify(1, nullptr, 0); }, "abc"},
        Change{"SkipNothing", [](AutoBuffer& buffer) { buffer.Skip(0); }, "abc"},
        Change{"UnAppend", [](AutoBuffer& buffer) { buffer.UnAppend(1); }, "ab"},
        Change{"UnAppendNothing", [](AutoBuffer& buffer) { buffer.UnAppend(0); }, "abc"},
        Change{"Erase", [](AutoBuffer& buffer) { buffer.Erase(); }, ""}),
    [](const auto& info) { return info.param.name; });

TEST(AutoBufferChange, OfACopyTakesOverTheCapacity) {
  const AutoBuffer original = Holding("abc");
  AutoBuffer copy(original);
  copy.UnAppend(1);
  EXPECT_EQ(copy.Capacity(), 131U);
  // The storage is really that large.
  copy.Append(std::string(129, 'x').data(), 129);
  EXPECT_EQ(copy.Capacity(), 131U);
  EXPECT_EQ(copy.Len(), 131U);
}

TEST(AutoBufferChange, LeavesAloneWhatIsNoLongerShared) {
  AutoBuffer original = Holding("abc");
  const unsigned char* const storage = original.Data();
  { const AutoBuffer copy(original); }
  original.Append("d", 1);
  EXPECT_EQ(original.Data(), storage);
}

TEST(AutoBufferChange, LeavesAloneWhatASharerGaveUpForSomethingElse) {
  AutoBuffer original = Holding("abc");
  const unsigned char* const storage = original.Data();
  AutoBuffer copy(original);
  copy = Holding("other");
  original.Append("d", 1);
  EXPECT_EQ(original.Data(), storage);
}

// The operations.

TEST(AutoBufferReserve, OfNothingDoesNothing) {
  AutoBuffer buffer;
  buffer.Reserve(0);
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.Capacity(), 0U);
}

TEST(AutoBufferReserve, GrowsToExactlyWhatIsAsked) {
  AutoBuffer buffer;
  buffer.Reserve(10);
  EXPECT_EQ(buffer.Capacity(), 10U);
  EXPECT_EQ(buffer.Len(), 0U);
  buffer.Append("abc", 3);
  buffer.Reserve(20);
  EXPECT_EQ(buffer.Capacity(), 20U);
  EXPECT_EQ(Text(buffer), "abc");
}

TEST(AutoBufferReserve, WithinTheCapacityLeavesEvenSharing) {
  const AutoBuffer original = Holding("abc");
  AutoBuffer copy(original);
  copy.Reserve(131);
  copy.Reserve(1);
  EXPECT_TRUE(Share(original, copy));
  EXPECT_EQ(copy.Capacity(), 131U);
}

TEST(AutoBufferReserve, OfASharedBufferGrowsToExactlyWhatIsAsked) {
  const AutoBuffer original = Holding("abc");
  AutoBuffer copy(original);
  copy.Reserve(132);
  EXPECT_EQ(copy.Capacity(), 132U);
}

TEST(AutoBufferAppend, OfOneByteToAnEmptyBufferMakesRoomFor129) {
  AutoBuffer buffer;
  buffer.Append("a", 1);
  EXPECT_EQ(buffer.Len(), 1U);
  EXPECT_EQ(buffer.Capacity(), 129U);
}

std::uint32_t CapacityAfterGrowingTo(std::uint32_t length) {
  AutoBuffer buffer;
  buffer.Append(std::string(length, 'x').data(), length);
  EXPECT_EQ(buffer.Len(), length);
  return buffer.Capacity();
}

TEST(AutoBufferAppend, MakesRoomForATenthMoreAtLeast128) {
  EXPECT_EQ(CapacityAfterGrowingTo(2000), 2200U);
  EXPECT_EQ(CapacityAfterGrowingTo(1280), 1408U);
  EXPECT_EQ(CapacityAfterGrowingTo(1289), 1417U);
  EXPECT_EQ(CapacityAfterGrowingTo(1290), 1419U);
  EXPECT_EQ(CapacityAfterGrowingTo(1299), 1428U);
}

TEST(AutoBufferAppend, KeepsTheCapacityThatIsEnough) {
  AutoBuffer buffer(5);
  buffer.Append("abcde", 5);
  EXPECT_EQ(buffer.Capacity(), 5U);
  buffer.Append("f", 1);
  EXPECT_EQ(buffer.Capacity(), 134U);
  EXPECT_EQ(Text(buffer), "abcdef");
}

TEST(AutoBufferAppend, OfNothingDoesNothing) {
  AutoBuffer buffer;
  buffer.Append(nullptr, 0);
  buffer.appendReverseByteOrder(nullptr, 0);
  EXPECT_EQ(buffer.Data(), nullptr);
  const AutoBuffer original = Holding("abc");
  AutoBuffer copy(original);
  copy.Append("x", 0);
  copy.appendReverseByteOrder("x", 0);
  EXPECT_TRUE(Share(original, copy));
}

TEST(AutoBufferAppend, OfItsOwnBytesAppendsThemAsTheyWere) {
  AutoBuffer buffer = Holding("abc");
  while (buffer.Len() < 1000)
    buffer.Append(buffer.Data(), buffer.Len());
  std::string expected;
  while (expected.size() < buffer.Len())
    expected += "abc";
  EXPECT_EQ(Text(buffer), expected);
  AutoBuffer small = Holding("abc");
  const AutoBuffer sharer(small);
  small.Append(sharer.Data() + 1, 2);
  EXPECT_EQ(Text(small), "abcbc");
}

TEST(AutoBufferAppend, OfItsOwnBytesBehindTheLengthKeepsThem) {
  AutoBuffer buffer = Holding("ab");
  buffer.Modify(2, "XYZ", 3);
  buffer.Append(buffer.Data() + 3, 2);
  EXPECT_EQ(Text(buffer), "abYZ");
  buffer.Skip(1);
  EXPECT_EQ(Text(buffer), "abYZZ");
}

TEST(AutoBufferAppendReverseByteOrder, OfItsOwnBytesBehindTheLengthTakesThemAsTheyWere) {
  AutoBuffer buffer = Holding("ab");
  buffer.Modify(2, "XYZ", 3);
  buffer.appendReverseByteOrder(buffer.Data() + 2, 3);
  EXPECT_EQ(Text(buffer), "abZYX");
}

TEST(AutoBufferAppendReverseByteOrder, StoresTheBytesReversed) {
  AutoBuffer buffer = Holding("ab");
  buffer.appendReverseByteOrder("1234", 4);
  EXPECT_EQ(Text(buffer), "ab4321");
  EXPECT_EQ(buffer.Capacity(), 130U);
}

TEST(AutoBufferAppendReverseByteOrder, GrowsAsAppendDoes) {
  AutoBuffer buffer;
  buffer.appendReverseByteOrder("1234", 4);
  EXPECT_EQ(buffer.Capacity(), 132U);
}

TEST(AutoBufferAppendReverseByteOrder, OfItsOwnBytesAppendsThemAsTheyWere) {
  AutoBuffer buffer(3);
  buffer.Append("abc", 3);
  buffer.appendReverseByteOrder(buffer.Data(), 3);
  EXPECT_EQ(Text(buffer), "abccba");
}

TEST(AutoBufferModify, OverwritesAndLeavesTheLength) {
  AutoBuffer buffer = Holding("abcdef");
  buffer.Modify(2, "XY", 2);
  EXPECT_EQ(Text(buffer), "abXYef");
}

TEST(AutoBufferModify, BehindTheLengthGrowsTheCapacityOnly) {
  AutoBuffer buffer = Holding("abc");
  buffer.Modify(1998, "XY", 2);
  EXPECT_EQ(buffer.Len(), 3U);
  EXPECT_EQ(buffer.Capacity(), 2200U);
  EXPECT_EQ(std::memcmp(buffer.Data() + 1998, "XY", 2), 0);
}

TEST(AutoBufferModify, AcrossTheLengthDoesNotExtend) {
  AutoBuffer buffer = Holding("abc");
  buffer.Modify(2, "XY", 2);
  EXPECT_EQ(Text(buffer), "abX");
}

TEST(AutoBufferModify, WithoutStorageCreatesIt) {
  AutoBuffer buffer;
  buffer.Modify(0, "X", 1);
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(buffer.Capacity(), 129U);
}

TEST(AutoBufferModify, WithItsOwnBytesTakesThemAsTheyWere) {
  AutoBuffer buffer = Holding("abcdef");
  buffer.Modify(1, buffer.Data(), 5);
  EXPECT_EQ(Text(buffer), "aabcde");
  AutoBuffer exact(6);
  exact.Append("abcdef", 6);
  exact.Modify(3, exact.Data(), 6);
  EXPECT_EQ(Text(exact), "abcabc");
  EXPECT_EQ(exact.Capacity(), 137U);
}

TEST(AutoBufferSkip, GrowsToExactlyWhatIsNeeded) {
  AutoBuffer buffer;
  buffer.Skip(10);
  EXPECT_EQ(buffer.Len(), 10U);
  EXPECT_EQ(buffer.Capacity(), 10U);
  buffer.Skip(1);
  EXPECT_EQ(buffer.Len(), 11U);
  EXPECT_EQ(buffer.Capacity(), 11U);
}

TEST(AutoBufferSkip, DoesNotWriteTheBytes) {
  AutoBuffer buffer = Holding("abc");
  buffer.UnAppend(2);
  buffer.Skip(2);
  EXPECT_EQ(Text(buffer), "abc");
}

TEST(AutoBufferSkip, WithinTheCapacityKeepsIt) {
  AutoBuffer buffer = Holding("abc");
  buffer.Skip(10);
  EXPECT_EQ(buffer.Capacity(), 131U);
  EXPECT_EQ(buffer.Len(), 13U);
}

TEST(AutoBufferUnAppend, TakesBytesFromTheEndAndReturnsTheirNumber) {
  AutoBuffer buffer = Holding("abc");
  EXPECT_EQ(buffer.UnAppend(2), 2U);
  EXPECT_EQ(Text(buffer), "a");
  EXPECT_EQ(buffer.Capacity(), 131U);
}

TEST(AutoBufferUnAppend, PastTheLengthLeavesTheBufferEmpty) {
  AutoBuffer buffer = Holding("abc");
  EXPECT_EQ(buffer.UnAppend(4), 4U);
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(buffer.UnAppend(0xFFFFFFFF), 0xFFFFFFFFU);
  EXPECT_EQ(buffer.Len(), 0U);
}

TEST(AutoBufferUnAppend, WithoutStorageDoesNothing) {
  AutoBuffer buffer;
  EXPECT_EQ(buffer.UnAppend(3), 3U);
  EXPECT_EQ(buffer.Data(), nullptr);
}

TEST(AutoBufferErase, OfAnUnsharedBufferKeepsTheStorage) {
  AutoBuffer buffer = Holding("abc");
  const unsigned char* const storage = buffer.Data();
  buffer.Erase();
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(buffer.Data(), storage);
  EXPECT_EQ(buffer.Capacity(), 131U);
}

TEST(AutoBufferErase, OfASharedBufferDropsOnlyItsReference) {
  AutoBuffer buffer = Holding("abc");
  const AutoBuffer sharer(buffer);
  buffer.Erase();
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(Text(sharer), "abc");
}

TEST(AutoBufferErase, OfAnEmptyBufferDoesNothing) {
  AutoBuffer none;
  none.Erase();
  EXPECT_EQ(none.Data(), nullptr);
  const AutoBuffer original(10);
  AutoBuffer sharer(original);
  sharer.Erase();
  EXPECT_TRUE(Share(original, sharer));
}

// Lengths that do not fit. Nothing may be read through the pointers: the checks come first.

TEST(AutoBufferLimits, ALengthThatNeedsMoreThanThirtyTwoBitsChangesNothing) {
  AutoBuffer buffer = Holding("abc");
  const AutoBuffer sharer(buffer);
  try {
    buffer.Append("x", 0xFFFFFFFD);
    FAIL();
  } catch (const OutOfRange& exception) {
    EXPECT_STREQ(exception.file(), "kit/SafeInteger.h");
  }
  EXPECT_THROW(buffer.appendReverseByteOrder("x", 0xFFFFFFFD), OutOfRange);
  EXPECT_THROW(buffer.Modify(0xFFFFFFFF, "x", 1), OutOfRange);
  EXPECT_THROW(buffer.Skip(0xFFFFFFFD), OutOfRange);
  EXPECT_TRUE(Share(buffer, sharer));
  EXPECT_EQ(Text(buffer), "abc");
}

TEST(AutoBufferLimits, NoLengthIsTakenForRoomThatThereIs) {
  AutoBuffer buffer = Holding("abc");
  for (const std::uint32_t length : {0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFF}) {
    EXPECT_THROW(buffer.Append("x", length), OutOfRange) << length;
    EXPECT_THROW(buffer.appendReverseByteOrder("x", length), OutOfRange) << length;
  }
  EXPECT_EQ(Text(buffer), "abc");
}

TEST(AutoBufferLimits, AFailedCheckCreatesNoStorage) {
  AutoBuffer buffer;
  EXPECT_THROW(buffer.Modify(0xFFFFFFFF, "x", 1), OutOfRange);
  EXPECT_EQ(buffer.Data(), nullptr);
}

TEST(AutoBufferLimits, AnArgumentThatNeedsMoreThanThirtyTwoBitsIsRefused) {
  constexpr std::uint64_t kTooMuch = 0x100000000;
  AutoBuffer buffer = Holding("abc");
  EXPECT_THROW(AutoBuffer{kTooMuch}, OutOfRange);
  EXPECT_THROW(BufferWrapper("x", kTooMuch), OutOfRange);
  EXPECT_THROW(buffer.Reserve(kTooMuch), OutOfRange);
  EXPECT_THROW(buffer.Append("x", kTooMuch), OutOfRange);
  EXPECT_THROW(buffer.appendReverseByteOrder("x", kTooMuch), OutOfRange);
  EXPECT_THROW(buffer.Modify(kTooMuch, "x", 1), OutOfRange);
  EXPECT_THROW(buffer.Modify(1, "x", kTooMuch), OutOfRange);
  EXPECT_THROW(buffer.Skip(kTooMuch), OutOfRange);
  EXPECT_THROW(buffer.UnAppend(kTooMuch), OutOfRange);
  EXPECT_EQ(Text(buffer), "abc");
  EXPECT_EQ(buffer.Capacity(), 131U);
}

// The flat form.

TEST(AutoBufferSerialize, WritesTheLengthAndTheBytes) {
  const AutoBuffer buffer = Holding("abc");
  EXPECT_EQ(buffer.serializationSize(), 7U);
  Bytes bytes(8, 0xAA);
  unsigned char* cursor = bytes.data();
  buffer.serialize(cursor, bytes.data() + 7);
  EXPECT_EQ(cursor, bytes.data() + 7);
  EXPECT_THAT(bytes, ElementsAre(3, 0, 0, 0, 'a', 'b', 'c', 0xAA));
}

TEST(AutoBufferSerialize, OfAnEmptyBufferWritesFourZeroBytes) {
  for (const AutoBuffer& buffer : {AutoBuffer(), AutoBuffer(10), AutoBuffer(0)}) {
    EXPECT_EQ(buffer.serializationSize(), 4U);
    Bytes bytes(4, 0xAA);
    unsigned char* cursor = bytes.data();
    buffer.serialize(cursor, bytes.data() + 4);
    EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 0));
  }
}

TEST(AutoBufferSerialize, WithoutRoomLeavesTheCursor) {
  const AutoBuffer buffer = Holding("abc");
  for (std::size_t room = 0; room != 7; ++room) {
    Bytes bytes(7, 0xAA);
    unsigned char* cursor = bytes.data();
    EXPECT_THROW(buffer.serialize(cursor, bytes.data() + room), BufferOverflow);
    EXPECT_EQ(cursor, bytes.data());
    EXPECT_THAT(Bytes(bytes.begin() + 4, bytes.end()), testing::Each(0xAA));
  }
}

template <typename ExceptionT, typename Action>
void ExpectFailureOfItsOwn(const char* message, Action action) {
  try {
    action();
    ADD_FAILURE() << message;
  } catch (const ExceptionT& exception) {
    EXPECT_STREQ(exception.what(), message);
    EXPECT_STREQ(exception.file(), "kit/AutoBuffer.cpp");
  }
}

TEST(AutoBufferSerialize, AFailureCarriesThePlaceOfItsCheck) {
  for (const std::size_t room : {6, 4, 3, 0}) {
    Bytes bytes(6);
    ExpectFailureOfItsOwn<BufferOverflow>("Buffer overflowed", [&] {
      unsigned char* cursor = bytes.data();
      Holding("abc").serialize(cursor, bytes.data() + room);
    });
    ExpectFailureOfItsOwn<BufferOverflow>("Buffer overflowed", [&] {
      unsigned char* cursor = bytes.data();
      Holding("abc").circularSerialize(bytes.data(), bytes.data() + room, cursor);
    });
  }
}

TEST(AutoBufferDeserialize, AFailureCarriesThePlaceOfItsCheck) {
  const Bytes bytes{3, 0, 0, 0, 'x', 'y'};
  for (const std::size_t room : {6, 4, 3, 0}) {
    ExpectFailureOfItsOwn<DeserializationError>("Failed to deserialize", [&] {
      const unsigned char* cursor = bytes.data();
      AutoBuffer().deserialize(cursor, bytes.data() + room);
    });
    ExpectFailureOfItsOwn<DeserializationError>("Failed to deserialize", [&] {
      const unsigned char* cursor = bytes.data();
      AutoBuffer().circularDeserialize(bytes.data(), bytes.data() + room, cursor);
    });
  }
}

TEST(AutoBufferSerialize, IntoItsOwnStorageWritesTheBytesAsTheyWere) {
  for (std::size_t offset = 0; offset != 8; ++offset) {
    AutoBuffer buffer = Holding("abcdef");
    unsigned char* cursor = buffer.Data() + offset;
    buffer.serialize(cursor, buffer.Data() + buffer.Capacity());
    EXPECT_EQ(cursor, buffer.Data() + offset + 10);
    EXPECT_THAT(Bytes(cursor - 10, cursor), ElementsAre(6, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 'f'));
  }
}

TEST(AutoBufferSerialize, IntoTheStorageOfASharerWritesTheBytesAsTheyWere) {
  AutoBuffer sharer = Holding("abcdef");
  const AutoBuffer buffer(sharer);
  unsigned char* cursor = sharer.Data();
  buffer.serialize(cursor, sharer.Data() + 10);
  EXPECT_THAT(Bytes(sharer.Data(), sharer.Data() + 10),
              ElementsAre(6, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 'f'));
}

TEST(AutoBufferSerialize, OfNothingIntoItsOwnStorageWritesALengthOfZero) {
  AutoBuffer buffer = Holding("abcd");
  buffer.Erase();
  unsigned char* cursor = buffer.Data();
  buffer.serialize(cursor, buffer.Data() + 4);
  EXPECT_THAT(Bytes(buffer.Data(), buffer.Data() + 4), ElementsAre(0, 0, 0, 0));
}

TEST(AutoBufferDeserialize, ReplacesTheBytesAndAdvances) {
  const Bytes bytes{2, 0, 0, 0, 'x', 'y', 'z'};
  const unsigned char* cursor = bytes.data();
  AutoBuffer buffer = Holding("abc");
  buffer.deserialize(cursor, bytes.data() + bytes.size());
  EXPECT_EQ(cursor, bytes.data() + 6);
  EXPECT_EQ(Text(buffer), "xy");
}

TEST(AutoBufferDeserialize, ReservesExactlyTheLength) {
  const Bytes bytes{2, 0, 0, 0, 'x', 'y'};
  const unsigned char* cursor = bytes.data();
  AutoBuffer buffer;
  buffer.deserialize(cursor, bytes.data() + bytes.size());
  EXPECT_EQ(buffer.Capacity(), 2U);
}

TEST(AutoBufferDeserialize, OfLengthZeroEmptiesTheBuffer) {
  const Bytes bytes{0, 0, 0, 0};
  const unsigned char* cursor = bytes.data();
  AutoBuffer buffer = Holding("abc");
  buffer.deserialize(cursor, bytes.data() + 4);
  EXPECT_EQ(buffer.Len(), 0U);
  EXPECT_EQ(cursor, bytes.data() + 4);
}

TEST(AutoBufferDeserialize, LeavesASharerAlone) {
  const std::string longText(500, 'z');
  for (const std::string& text : {std::string(), std::string("xy"), longText}) {
    const AutoBuffer source = Holding(text);
    Bytes bytes(source.serializationSize());
    unsigned char* end = bytes.data();
    source.serialize(end, bytes.data() + bytes.size());
    const unsigned char* cursor = bytes.data();
    AutoBuffer buffer = Holding("abc");
    const AutoBuffer sharer(buffer);
    buffer.deserialize(cursor, end);
    EXPECT_EQ(Text(buffer), text);
    EXPECT_EQ(Text(sharer), "abc");
  }
}

TEST(AutoBufferDeserialize, WithTooFewBytesLeavesEverything) {
  const Bytes bytes{3, 0, 0, 0, 'x', 'y'};
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    const unsigned char* cursor = bytes.data();
    AutoBuffer buffer = Holding("abc");
    try {
      buffer.deserialize(cursor, bytes.data() + length);
      ADD_FAILURE() << length;
    } catch (const DeserializationError& exception) {
      EXPECT_STREQ(exception.what(), "Failed to deserialize");
    }
    EXPECT_EQ(cursor, bytes.data());
    EXPECT_EQ(Text(buffer), "abc");
  }
}

TEST(AutoBufferDeserialize, RefusesAnAbsurdLengthWithoutAllocating) {
  const Bytes bytes{0xFF, 0xFF, 0xFF, 0xFF, 'x', 'y'};
  const unsigned char* cursor = bytes.data();
  AutoBuffer buffer;
  EXPECT_THROW(buffer.deserialize(cursor, bytes.data() + bytes.size()), DeserializationError);
  EXPECT_EQ(cursor, bytes.data());
  EXPECT_EQ(buffer.Data(), nullptr);
}

TEST(AutoBufferDeserialize, FromItsOwnBytesTakesThemAsTheyWere) {
  AutoBuffer buffer = Holding(std::string("\3\0\0\0xyz", 7));
  const unsigned char* cursor = buffer.Data();
  buffer.deserialize(cursor, buffer.Data() + buffer.Len());
  EXPECT_EQ(Text(buffer), "xyz");
}

// The ring.

struct Ring {
  explicit Ring(std::size_t size) : bytes(size + 1, 0xAA) {}
  unsigned char* begin() { return bytes.data(); }
  unsigned char* end() { return bytes.data() + bytes.size() - 1; }

  Bytes bytes;  // With one byte behind the end that nobody may touch.
};

TEST(AutoBufferRing, WritesAndReadsFromEveryPlaceOfEveryRing) {
  for (const std::string& text : {std::string(), std::string("a"), std::string("abcde")}) {
    for (std::size_t size = text.size() + 4; size != 14; ++size) {
      for (std::size_t start = 0; start != size; ++start) {
        Ring ring(size);
        unsigned char* writer = ring.begin() + start;
        Holding(text).circularSerialize(ring.begin(), ring.end(), writer);
        EXPECT_EQ(ring.bytes, RingWith(size, start, text));
        EXPECT_EQ(writer - ring.begin(), (start + text.size() + 4) % size);

        const unsigned char* reader = ring.begin() + start;
        AutoBuffer read = Holding("before");
        read.circularDeserialize(ring.begin(), ring.end(), reader);
        EXPECT_EQ(Text(read), text);
        EXPECT_EQ(reader, writer);
      }
    }
  }
}

TEST(AutoBufferRing, ACursorAtTheEndStandsForTheBegin) {
  Ring ring(8);
  unsigned char* writer = ring.end();
  Holding("abc").circularSerialize(ring.begin(), ring.end(), writer);
  EXPECT_EQ(ring.bytes, RingWith(8, 0, "abc"));
  const unsigned char* reader = ring.end();
  AutoBuffer read;
  read.circularDeserialize(ring.begin(), ring.end(), reader);
  EXPECT_EQ(Text(read), "abc");
  EXPECT_EQ(reader, ring.begin() + 7);
}

TEST(AutoBufferRing, InItsOwnStorageIsWrittenWithTheBytesAsTheyWere) {
  constexpr std::size_t kSize = 9;
  for (std::size_t start = 0; start != kSize; ++start) {
    AutoBuffer buffer = Holding("abcde");
    unsigned char* const begin = buffer.Data();
    begin[kSize] = 0xAA;
    unsigned char* cursor = begin + start;
    buffer.circularSerialize(begin, begin + kSize, cursor);
    EXPECT_EQ(Bytes(begin, begin + kSize + 1), RingWith(kSize, start, "abcde"));
    EXPECT_EQ(cursor, begin + start);
  }
}

TEST(AutoBufferRing, ACursorOutsideIsRefused) {
  const Bytes untouched{0, 2, 0, 0, 0, 'x', 'y', 'z', 0, 0};
  Bytes bytes(untouched);
  unsigned char* const begin = bytes.data() + 1;
  unsigned char* const end = begin + 8;
  for (unsigned char* const outside : {begin - 1, end + 1}) {
    unsigned char* writer = outside;
    EXPECT_THROW(Holding("ab").circularSerialize(begin, end, writer), BufferOverflow);
    EXPECT_EQ(writer, outside);
    EXPECT_EQ(bytes, untouched);
    const unsigned char* reader = outside;
    AutoBuffer buffer = Holding("abc");
    EXPECT_THROW(buffer.circularDeserialize(begin, end, reader), DeserializationError);
    EXPECT_EQ(Text(buffer), "abc");
    EXPECT_THROW(AutoBuffer::GetCircularDeserializationSize(begin, end, reader),
                 DeserializationError);
    EXPECT_EQ(reader, outside);
  }
}

TEST(AutoBufferRing, TooSmallForTheRecordIsNotWritten) {
  for (std::size_t size = 0; size != 7; ++size) {
    Ring ring(size);
    unsigned char* cursor = ring.begin();
    EXPECT_THROW(Holding("abc").circularSerialize(ring.begin(), ring.end(), cursor),
                 BufferOverflow);
    EXPECT_EQ(cursor, ring.begin());
    EXPECT_THAT(ring.bytes, testing::Each(0xAA));
  }
}

void ExpectRingRefused(const Bytes& bytes) {
  const unsigned char* cursor = bytes.data();
  AutoBuffer buffer = Holding("abc");
  EXPECT_THROW(buffer.circularDeserialize(bytes.data(), bytes.data() + bytes.size(), cursor),
               DeserializationError);
  EXPECT_EQ(cursor, bytes.data());
  EXPECT_EQ(Text(buffer), "abc");
}

TEST(AutoBufferRing, TooSmallForTheRecordIsNotRead) {
  ExpectRingRefused({});
  ExpectRingRefused({1, 0, 0});
  ExpectRingRefused({1, 0, 0, 0});
  ExpectRingRefused({3, 0, 0, 0, 'x', 'y'});
}

TEST(AutoBufferRing, LengthsNearTheLargestDoNotWrap) {
  ExpectRingRefused({0xFC, 0xFF, 0xFF, 0xFF, 'x', 'y', 'z'});
  ExpectRingRefused({0xFF, 0xFF, 0xFF, 0xFF, 'x', 'y', 'z'});
}

TEST(AutoBufferRing, GivesTheLengthAheadOfTheBytes) {
  const Bytes bytes{1, 0, 'x', 'y', 4, 3};
  const unsigned char* cursor = bytes.data() + 4;
  EXPECT_EQ(AutoBuffer::GetCircularDeserializationSize(bytes.data(), bytes.data() + 6, cursor),
            0x00010304U);
  EXPECT_EQ(cursor, bytes.data() + 2);
}

TEST(AutoBufferRing, TheCursorBehindALengthThatEndsTheRingIsAtTheBegin) {
  const Bytes bytes{'x', 'y', 2, 0, 0, 0};
  const unsigned char* cursor = bytes.data() + 2;
  EXPECT_EQ(AutoBuffer::GetCircularDeserializationSize(bytes.data(), bytes.data() + 6, cursor), 2U);
  EXPECT_EQ(cursor, bytes.data());
}

TEST(AutoBufferRing, OfFewerThanFourBytesHasNoLength) {
  const Bytes bytes{1, 0, 0};
  const unsigned char* cursor = bytes.data();
  EXPECT_THROW(AutoBuffer::GetCircularDeserializationSize(bytes.data(), bytes.data() + 3, cursor),
               DeserializationError);
  EXPECT_EQ(cursor, bytes.data());
}

TEST(AutoBufferRing, InItsOwnBytesIsReadAsItWas) {
  AutoBuffer buffer = Holding(std::string("yz\3\0\0\0x", 7));
  const unsigned char* cursor = buffer.Data() + 2;
  buffer.circularDeserialize(buffer.Data(), buffer.Data() + 7, cursor);
  EXPECT_EQ(Text(buffer), "xyz");
}

// Order.

TEST(AutoBufferOrder, IsThatOfTheUsedBytes) {
  EXPECT_TRUE(Holding("abc") == Holding("abc"));
  EXPECT_FALSE(Holding("abc") == Holding("abd"));
  EXPECT_TRUE(Holding("abc") < Holding("abd"));
  EXPECT_FALSE(Holding("abd") < Holding("abc"));
  EXPECT_FALSE(Holding("abc") < Holding("abc"));
  EXPECT_TRUE(AutoBuffer() == AutoBuffer(10));
  EXPECT_TRUE(AutoBuffer() < Holding("a"));
}

}  // namespace
