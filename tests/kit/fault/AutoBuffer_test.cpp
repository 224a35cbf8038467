#include "kit/AutoBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "kit/exception/DeserializationError.h"
#include "kit/exception/OutOfRange.h"
#include "tests/ReservedRange.h"
#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/FailingMutexes.h"

namespace {

using namespace qv::kit;
using qv::tests::FailingAllocator;
using qv::tests::FailingMutexes;
using testing::ElementsAre;

constexpr unsigned char kLong[] = {5, 0, 0, 0, '1', '2', '3', '4', '5'};
constexpr unsigned char kShort[] = {1, 0, 0, 0, '1'};

AutoBuffer FullBuffer() {
  AutoBuffer buffer(3);
  buffer.Append("abc", 3);
  return buffer;
}

std::string Text(const AutoBuffer& buffer) {
  return std::string(reinterpret_cast<const char*>(buffer.Data()), buffer.Len());
}

template <std::size_t size>
void ReadFlat(AutoBuffer& buffer, const unsigned char (&bytes)[size]) {
  const unsigned char* cursor = bytes;
  try {
    buffer.deserialize(cursor, bytes + size);
  } catch (const std::bad_alloc&) {
    EXPECT_EQ(cursor, bytes);
    throw;
  }
}

template <std::size_t size>
void ReadRing(AutoBuffer& buffer, const unsigned char (&bytes)[size]) {
  const unsigned char* cursor = bytes;
  try {
    buffer.circularDeserialize(bytes, bytes + size, cursor);
  } catch (const std::bad_alloc&) {
    EXPECT_EQ(cursor, bytes);
    throw;
  }
}

using Operations = std::vector<std::pair<const char*, std::function<void(AutoBuffer&)>>>;

Operations OperationsThatGrow() {
  return {
      {"reserve", [](AutoBuffer& buffer) { buffer.Reserve(4); }},
      {"append", [](AutoBuffer& buffer) { buffer.Append("d", 1); }},
      {"append its own", [](AutoBuffer& buffer) { buffer.Append(buffer.Data(), 2); }},
      {"append reversed", [](AutoBuffer& buffer) { buffer.appendReverseByteOrder("d", 1); }},
      {"modify", [](AutoBuffer& buffer) { buffer.Modify(3, "d", 1); }},
      {"skip", [](AutoBuffer& buffer) { buffer.Skip(1); }},
      {"assign", [](AutoBuffer& buffer) { buffer = BufferWrapper("d", 1); }},
      {"read", [](AutoBuffer& buffer) { ReadFlat(buffer, kLong); }},
      {"read ring", [](AutoBuffer& buffer) { ReadRing(buffer, kLong); }},
  };
}

Operations OperationsThatSeparate() {
  Operations operations = OperationsThatGrow();
  operations.emplace_back("modify in place", [](AutoBuffer& buffer) { buffer.Modify(0, "d", 1); });
  operations.emplace_back("un-append", [](AutoBuffer& buffer) { buffer.UnAppend(1); });
  operations.emplace_back("read short", [](AutoBuffer& buffer) { ReadFlat(buffer, kShort); });
  operations.emplace_back("read short ring", [](AutoBuffer& buffer) { ReadRing(buffer, kShort); });
  return operations;
}

TEST(AutoBufferWithoutMemory, KeepsItsBytesWhenItCannotGrow) {
  for (const auto& [name, operation] : OperationsThatGrow()) {
    AutoBuffer buffer = FullBuffer();
    FailingAllocator allocator;
    allocator.FailFrom(1);
    EXPECT_THROW(operation(buffer), std::bad_alloc) << name;
    EXPECT_EQ(Text(buffer), "abc") << name;
    EXPECT_EQ(buffer.Capacity(), 3U) << name;
  }
}

TEST(AutoBufferWithoutMemory, StaysSharedWhenItCannotSeparate) {
  for (const auto& [name, operation] : OperationsThatSeparate()) {
    AutoBuffer buffer = FullBuffer();
    const AutoBuffer sharer(buffer);
    FailingAllocator allocator;
    allocator.FailFrom(1);
    EXPECT_THROW(operation(buffer), std::bad_alloc) << name;
    EXPECT_EQ(std::as_const(buffer).Data(), sharer.Data()) << name;
    EXPECT_EQ(Text(sharer), "abc") << name;
  }
}

TEST(AutoBufferWithoutMemory, HasNoStorageWhenNoneCanBeCreated) {
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(AutoBuffer(1), std::bad_alloc);
  AutoBuffer buffer;
  EXPECT_THROW(buffer.Append("a", 1), std::bad_alloc);
  EXPECT_THROW(buffer.Reserve(1), std::bad_alloc);
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.Capacity(), 0U);
}

TEST(AutoBufferWithoutMemory, HasNoStorageWhenItsCountCannotBeCreated) {
  AutoBuffer buffer;
  FailingMutexes mutexes;
  mutexes.Fail(FailingMutexes::Call::kMutexInit, ENOMEM);
  EXPECT_THROW(buffer.Append("a", 1), std::bad_alloc);
  EXPECT_EQ(buffer.Data(), nullptr);
}

TEST(AutoBufferWithoutMemory, ShrinksAndErasesAllTheSame) {
  AutoBuffer buffer = FullBuffer();
  FailingAllocator allocator;
  allocator.FailFrom(1);
  buffer.UnAppend(1);
  EXPECT_EQ(Text(buffer), "ab");
  buffer.Modify(0, "X", 1);
  EXPECT_EQ(Text(buffer), "Xb");
  buffer.Erase();
  EXPECT_EQ(buffer.Len(), 0U);
}

TEST(AutoBufferAppend, AsksForExactlyTheLengthWhereTheSlackWouldNeedMoreThanThirtyTwoBits) {
  const ReservedRange<unsigned char> source(1);
  const auto asked = [&](std::uint32_t length) {
    AutoBuffer buffer;
    FailingAllocator allocator;
    allocator.FailSizesFrom(0x80000000U);
    EXPECT_THROW(buffer.Append(source.begin(), length), std::bad_alloc);
    EXPECT_EQ(buffer.Data(), nullptr);
    return allocator.sizes().back();
  };
  EXPECT_EQ(asked(0xFFFFFFFEU), 0xFFFFFFFEU);
  EXPECT_EQ(asked(3904515724U), 3904515724U);
  // 3904515723 and a tenth are the last that fit: 4294967295.
  EXPECT_EQ(asked(3904515723U), 4294967295U);
}

TEST(AutoBufferRing, AsksForNoMemoryForALengthThatTheRingCannotHold) {
  constexpr unsigned char bytes[] = {0xFF, 0xFF, 0xFF, 0xFF, 'x', 'y'};
  const unsigned char* cursor = bytes;
  AutoBuffer buffer;
  const FailingAllocator allocator;
  EXPECT_THROW(buffer.circularDeserialize(bytes, bytes + sizeof(bytes), cursor),
               exception::DeserializationError);
  EXPECT_TRUE(allocator.sizes().empty());
}

// The record, its lock in two pieces, and the bytes.
constexpr std::uint32_t kAllocationsOfStorage = 4;

TEST(AutoBufferWithoutMemory, HasNoStorageAtWhicheverAllocationOfItFails) {
  for (std::uint32_t failing = 1; failing <= kAllocationsOfStorage + 1; ++failing) {
    const bool hasMemory = failing > kAllocationsOfStorage;
    AutoBuffer buffer;
    const FailingMutexes mutexes;
    FailingAllocator allocator;
    allocator.IncludeNew();
    allocator.FailCall(failing);
    try {
      buffer.Append("a", 1);
      EXPECT_TRUE(hasMemory) << failing;
    } catch (const std::bad_alloc&) {
      EXPECT_FALSE(hasMemory) << failing;
    }
    EXPECT_EQ(buffer.Len(), hasMemory ? 1U : 0U);
    EXPECT_EQ(buffer.Data() != nullptr, hasMemory);
    EXPECT_EQ(mutexes.mutexesAlive(), hasMemory ? 1 : 0);
  }
}

TEST(AutoBufferWithoutMemory, StaysSharedAtWhicheverAllocationOfItsOwnStorageFails) {
  for (std::uint32_t failing = 1; failing <= kAllocationsOfStorage + 1; ++failing) {
    const bool hasMemory = failing > kAllocationsOfStorage;
    AutoBuffer buffer = FullBuffer();
    const AutoBuffer sharer(buffer);
    FailingAllocator allocator;
    allocator.IncludeNew();
    allocator.FailCall(failing);
    try {
      buffer.UnAppend(1);
      EXPECT_TRUE(hasMemory) << failing;
    } catch (const std::bad_alloc&) {
      EXPECT_FALSE(hasMemory) << failing;
    }
    EXPECT_EQ(std::as_const(buffer).Data() == sharer.Data(), !hasMemory);
    EXPECT_EQ(buffer.Len(), hasMemory ? 2U : 3U);
    EXPECT_EQ(Text(sharer), "abc");
  }
}

TEST(AutoBufferWithoutMemory, CannotBeWrittenIntoItsOwnStorageAndWritesNothing) {
  AutoBuffer buffer(7);
  buffer.Append("abc", 3);
  unsigned char* cursor = buffer.Data();
  unsigned char* const end = cursor + 7;
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(buffer.serialize(cursor, end), std::bad_alloc);
  EXPECT_THROW(buffer.circularSerialize(buffer.Data(), end, cursor), std::bad_alloc);
  EXPECT_EQ(cursor, buffer.Data());
  EXPECT_EQ(Text(buffer), "abc");
}

TEST(AutoBufferSerializationSize, IsOutOfRangeWhenItNeedsMoreThanThirtyTwoBits) {
  FailingAllocator allocator;
  allocator.PretendSizesFrom(0x80000000U);
  AutoBuffer buffer;
  buffer.Skip(0xFFFFFFFBU);
  EXPECT_EQ(buffer.serializationSize(), 0xFFFFFFFFU);
  buffer.Skip(1);
  EXPECT_THROW(buffer.serializationSize(), exception::OutOfRange);
}

}  // namespace
