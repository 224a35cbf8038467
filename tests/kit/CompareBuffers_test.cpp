#include "kit/CompareBuffers.h"

#include <gtest/gtest.h>

#include <string>

#include "kit/AutoBuffer.h"

namespace {

using namespace qv::kit;

std::int32_t Compare(const std::string& a, const std::string& b) {
  return CompareBuffers(BufferWrapper(a.data(), a.size()), BufferWrapper(b.data(), b.size()));
}

TEST(CompareBuffers, GivesMinusOneZeroOrOne) {
  EXPECT_EQ(Compare("abc", "abd"), -1);
  EXPECT_EQ(Compare("abc", "abc"), 0);
  EXPECT_EQ(Compare("abz", "aba"), 1);
}

TEST(CompareBuffers, ComparesUnsignedBytes) {
  EXPECT_EQ(Compare("\x7F", "\x80"), -1);
  EXPECT_EQ(Compare("\xFF", "a"), 1);
}

TEST(CompareBuffers, PutsTheShorterFirstWhenTheOtherBeginsWithIt) {
  EXPECT_EQ(Compare("ab", "abc"), -1);
  EXPECT_EQ(Compare("abc", "ab"), 1);
  EXPECT_EQ(Compare("", "a"), -1);
  EXPECT_EQ(Compare("b", "abc"), 1);
}

TEST(CompareBuffers, ComparesZeroBytesLikeOthers) {
  EXPECT_EQ(Compare(std::string("a\0b", 3), std::string("a\0c", 3)), -1);
}

TEST(CompareBuffers, TakesRangesWithoutBytes) {
  EXPECT_EQ(CompareBuffers(BufferWrapper(), BufferWrapper()), 0);
  EXPECT_EQ(CompareBuffers(BufferWrapper(), BufferWrapper("a", 1)), -1);
  EXPECT_EQ(CompareBuffers(BufferWrapper("a", 1), BufferWrapper()), 1);
}

TEST(BufferWrapper, OfABufferIsItsUsedBytes) {
  AutoBuffer buffer;
  EXPECT_EQ(BufferWrapper(buffer).Data(), nullptr);
  EXPECT_EQ(BufferWrapper(buffer).Len(), 0U);
  buffer.Append("abc", 3);
  EXPECT_EQ(BufferWrapper(buffer).Data(), buffer.Data());
  EXPECT_EQ(BufferWrapper(buffer).Len(), 3U);
}

}  // namespace
