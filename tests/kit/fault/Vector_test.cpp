#include "kit/Vector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "kit/StringBase.h"
#include "tests/doubles/FailingAllocator.h"

namespace {

using namespace qv::kit;
using qv::tests::FailingAllocator;
using testing::ElementsAre;

Vector<int> OneTwoThree() {
  Vector<int> vector;
  for (const int value : {1, 2, 3})
    vector.push_back(value);
  return vector;
}

TEST(VectorWithoutMemory, KeepsItsElementsWhenPushBackOrReserveFails) {
  Vector<int> vector = OneTwoThree();
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(vector.push_back(4), std::bad_alloc);
  EXPECT_THROW(vector.reserve(4), std::bad_alloc);
  EXPECT_THAT(vector, ElementsAre(1, 2, 3));
  EXPECT_EQ(vector.capacity(), 3U);
}

TEST(VectorWithoutMemory, CannotBeBuilt) {
  const Vector<int> vector = OneTwoThree();
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(Vector<int>(1), std::bad_alloc);
  EXPECT_THROW(Vector<int>{vector}, std::bad_alloc);
  EXPECT_NO_THROW(Vector<int>(0));
}

TEST(VectorWithoutMemory, OfStringsKeepsThemAtWhicheverAllocationPushBackFails) {
  for (std::uint32_t failing = 1;; ++failing) {
    Vector<WString> vector;
    vector.push_back(L"first");
    const WString second(L"second");
    FailingAllocator allocator;
    allocator.FailCall(failing);
    try {
      vector.push_back(second);
      EXPECT_GT(failing, 3U);
      break;
    } catch (const std::bad_alloc&) {
      ASSERT_EQ(vector.size(), 1U);
      EXPECT_EQ(vector[0].exactCompare(L"first"), 0);
    }
  }
}

TEST(Vector, TakesItsStorageInOneBlockOfTheExactSize) {
  const FailingAllocator allocator;
  const Vector<double> vector(5);
  EXPECT_THAT(allocator.sizes(), ElementsAre(5 * sizeof(double)));
}

struct FourBytes {
  std::uint32_t value = 0;

  void deserialize(const unsigned char*& cursor, const unsigned char* end) {
    little_endian::DeserializeRaw(value, cursor, end);
  }
};

TEST(VectorDeserialize, TakesNoMemoryForACountThatTheBytesCannotHold) {
  const unsigned char bytes[12] = {3, 0, 0, 0};
  const unsigned char* cursor = bytes;
  Vector<FourBytes> vector;
  const FailingAllocator allocator;
  EXPECT_THROW(vector.deserialize(cursor, bytes + sizeof(bytes)), exception::DeserializationError);
  EXPECT_THAT(allocator.sizes(), ElementsAre());
}

TEST(VectorDeserialize, LeavesElementsAndCursorWithoutMemory) {
  const unsigned char bytes[12] = {2, 0, 0, 0};
  const unsigned char* cursor = bytes;
  Vector<FourBytes> vector(1);
  FailingAllocator allocator;
  allocator.FailFrom(1);
  EXPECT_THROW(vector.deserialize(cursor, bytes + sizeof(bytes)), std::bad_alloc);
  EXPECT_EQ(cursor, bytes);
  EXPECT_EQ(vector.size(), 1U);
}

}  // namespace
