#include "kit/DLLAlloc.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <new>

namespace {

using namespace qv::kit;

TEST(DLLMallocNoThrow, GivesMemoryOfTheSizeAskedFor) {
  void* const block = DLLMallocNoThrow(100000);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0x5A, 100000);
  DLLFree(block);
}

TEST(DLLMallocNoThrow, GivesNullWhenThereIsNoSuchMemory) {
  EXPECT_EQ(DLLMallocNoThrow(ULONG_MAX), nullptr);
  EXPECT_EQ(DLLMallocNoThrow(ULONG_MAX - 15), nullptr);
}

TEST(DLLMalloc, ThrowsBadAllocWhenThereIsNoSuchMemory) {
  EXPECT_THROW(DLLMalloc(ULONG_MAX), std::bad_alloc);
}

TEST(DLLReallocNoThrow, OfNullAllocates) {
  void* const block = DLLReallocNoThrow(nullptr, 8);
  EXPECT_NE(block, nullptr);
  DLLFree(block);
}

TEST(DLLReallocNoThrow, KeepsTheFirstBytes) {
  void* const block = DLLMalloc(3);
  std::memcpy(block, "abc", 3);
  void* const moved = DLLReallocNoThrow(block, 100000);
  ASSERT_NE(moved, nullptr);
  EXPECT_EQ(std::memcmp(moved, "abc", 3), 0);
  DLLFree(moved);
}

TEST(DLLReallocNoThrow, SizeZeroFreesTheBlockAndGivesNull) {
  void* block = DLLMalloc(8);
  EXPECT_EQ(DLLReallocNoThrow(block, 0), nullptr);
}

TEST(DLLReallocNoThrow, GivesNullAndLeavesTheBlockWhenThereIsNoSuchMemory) {
  void* const block = DLLMalloc(3);
  std::memcpy(block, "abc", 3);
  EXPECT_EQ(DLLReallocNoThrow(block, ULONG_MAX), nullptr);
  EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
  DLLFree(block);
}

TEST(DLLRealloc, KeepsTheFirstBytes) {
  void* const block = DLLMalloc(3);
  std::memcpy(block, "abc", 3);
  void* const moved = DLLRealloc(block, 2);
  EXPECT_EQ(std::memcmp(moved, "ab", 2), 0);
  DLLFree(moved);
}

TEST(DLLRealloc, ThrowsBadAllocAndLeavesTheBlockWhenThereIsNoSuchMemory) {
  void* const block = DLLMalloc(3);
  std::memcpy(block, "abc", 3);
  EXPECT_THROW(DLLRealloc(block, ULONG_MAX), std::bad_alloc);
  EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
  DLLFree(block);
}

TEST(DLLRealloc, NullAndSizeZeroDoesNotThrow) {
  void* block = nullptr;
  EXPECT_NO_THROW(block = DLLRealloc(nullptr, 0));
  DLLFree(block);
}

TEST(DLLRealloc, SizeZeroFreesTheBlockAndGivesNull) {
  EXPECT_EQ(DLLRealloc(DLLMalloc(8), 0), nullptr);
}

TEST(DLLFree, NullIsIgnored) {
  DLLFree(nullptr);
}

}  // namespace
