#include "kit/DLLAlloc.h"

#include <gtest/gtest.h>

namespace {

using namespace qv::kit;

TEST(DLLReallocNoThrow, SizeZeroFreesTheBlockAndGivesNull) {
  void* block = DLLMalloc(8);
  EXPECT_EQ(DLLReallocNoThrow(block, 0), nullptr);
}

TEST(DLLRealloc, NullAndSizeZeroDoesNotThrow) {
  void* block = nullptr;
  EXPECT_NO_THROW(block = DLLRealloc(nullptr, 0));
  DLLFree(block);
}

TEST(DLLFree, NullIsIgnored) {
  DLLFree(nullptr);
}

}  // namespace
