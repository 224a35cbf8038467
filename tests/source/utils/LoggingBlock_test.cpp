#include "source/utils/LoggingBlock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "tests/doubles/ObjectLayout.h"

namespace qv::tests {
namespace {

using kit::StatusChain;
using kit::String;
using testing::ElementsAre;
using testing::IsEmpty;
using traceengine::BlockType;
using traceengine::ILoggingBlockFactory;
using traceengine::kBlockType1;
using traceengine::kBlockType2;
using traceengine::LoggingBlock;

void SetUsed(LoggingBlock& block, std::int32_t used) {
  auto layout = LayoutOf<LoggingBlockLayout>(block);
  layout.used = used;
  SetLayout(block, layout);
}

/// Keeps what it is given.
class Factory : public ILoggingBlockFactory {
 public:
  virtual ~Factory() = default;
  LoggingBlock* giveOut() override { return nullptr; }
  void takeBack(LoggingBlock* block) override { taken.push_back(block); }

  std::vector<LoggingBlock*> taken;
};

struct LoggingBlockTest : testing::Test {
  Factory factory;
  LoggingBlock block{&factory};
  StatusChain status;
  LoggingBlockTest() { status.clear(); }

  std::string written() const { return {block.payload(), static_cast<std::size_t>(block.used())}; }
};

// Time

TEST_F(LoggingBlockTest, IsStampedWithTheSystemsTime) {
  EXPECT_TRUE(block.timeStamp() == kit::AbsTime());
  constexpr std::int64_t kFrom1904To1970 = 2082844800;
  const std::int64_t before = std::time(nullptr) + kFrom1904To1970;
  block.stampCurrentTime();
  EXPECT_GE(block.timeStamp().seconds(), before - 1);
  EXPECT_LE(block.timeStamp().seconds(), std::time(nullptr) + kFrom1904To1970 + 1);
}

// Bytes

TEST_F(LoggingBlockTest, AppendsBytes) {
  block.write("abc", 3, status);
  block.write("de\0f", 4, status);
  EXPECT_EQ(written(), std::string("abcde\0f", 7));
  EXPECT_EQ(block.room(), 505);
  EXPECT_EQ(status.code(), 0);
}

TEST_F(LoggingBlockTest, HoldsAsManyBytesAsItHasRoomFor) {
  const std::string full(512, 'x');
  block.write(full.c_str(), 512, status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_EQ(written(), full);
  EXPECT_EQ(block.room(), 0);
}

TEST_F(LoggingBlockTest, RefusesMoreBytesThanItHasRoomForAltogether) {
  block.write("abc", 3, status);
  const std::string tooMany(510, 'x');
  block.write(tooMany.c_str(), 510, status);
  EXPECT_EQ(status.code(), -1);
  EXPECT_EQ(written(), "abc");
  EXPECT_EQ(LayoutOf<LoggingBlockLayout>(block).payload[3], '\0');
}

TEST_F(LoggingBlockTest, RefusesABlockful) {
  const std::string tooMany(513, 'x');
  block.write(tooMany.c_str(), 513, status);
  EXPECT_EQ(status.code(), -1);
  EXPECT_EQ(block.used(), 0);
}

TEST_F(LoggingBlockTest, AcceptsNothingAtAllWheneverThereIsAStatusForIt) {
  block.write(nullptr, 0, status);
  EXPECT_EQ(status.code(), 0);
  SetUsed(block, 512);
  block.write("", 0, status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_EQ(block.used(), 512);
}

TEST_F(LoggingBlockTest, RefusesANegativeLength) {
  for (const std::int32_t length : {-1, -2147483647 - 1}) {
    status.clear();
    block.write("abc", length, status);
    EXPECT_EQ(status.code(), -1);
    EXPECT_EQ(block.used(), 0);
  }
}

TEST_F(LoggingBlockTest, WritesNothingAfterAnError) {
  status.set(-5);
  block.write("abc", 3, status);
  block.write(String("abc"), status);
  EXPECT_EQ(status.code(), -5);
  EXPECT_EQ(block.used(), 0);
}

TEST_F(LoggingBlockTest, WritesAfterAWarning) {
  status.set(5);
  block.write("abc", 3, status);
  EXPECT_EQ(status.code(), 5);
  EXPECT_EQ(written(), "abc");
}

TEST_F(LoggingBlockTest, HasNoRoomWhenItsCountMakesNoSense) {
  for (const std::int32_t used : {-1, 513, 2147483647, -2147483647 - 1}) {
    SetUsed(block, used);
    status.clear();
    EXPECT_EQ(block.room(), 0) << used;
    block.write("a", 1, status);
    EXPECT_EQ(status.code(), -1) << used;
    EXPECT_EQ(block.used(), used);
  }
}

// Texts

TEST_F(LoggingBlockTest, AppendsATextWithItsTerminator) {
  block.write(String("abc"), status);
  block.write(String(""), status);
  EXPECT_EQ(written(), std::string("abc\0\0", 5));
  EXPECT_EQ(status.code(), 0);
}

TEST_F(LoggingBlockTest, HoldsATextOf511Characters) {
  block.write(String(511, 'x'), status);
  EXPECT_EQ(status.code(), 0);
  EXPECT_EQ(written(), std::string(511, 'x') + '\0');
}

TEST_F(LoggingBlockTest, RefusesATextWhoseTerminatorHasNoRoom) {
  for (const std::uint32_t length : {512U, 513U, 100000U}) {
    status.clear();
    block.write(String(length, 'x'), status);
    EXPECT_EQ(status.code(), -1);
    EXPECT_EQ(block.used(), 0);
  }
}

TEST_F(LoggingBlockTest, AppendsATextWithANullInsideWhole) {
  block.write(String("a\0b", 3), status);
  EXPECT_EQ(written(), std::string("a\0b\0", 4));
}

// Types

TEST_F(LoggingBlockTest, TakesTheTwoTypes) {
  EXPECT_EQ(block.blockType(), kBlockType1);
  EXPECT_EQ(block.blockType(kBlockType2, status), kBlockType2);
  EXPECT_EQ(block.blockType(), kBlockType2);
  EXPECT_EQ(block.blockType(kBlockType1, status), kBlockType1);
  EXPECT_EQ(status.code(), 0);
}

TEST_F(LoggingBlockTest, KeepsItsTypeAgainstAnyOther) {
  block.blockType(kBlockType2, status);
  for (const int type : {0, 3, -1}) {
    status.clear();
    EXPECT_EQ(block.blockType(static_cast<BlockType>(type), status), kBlockType2) << type;
    EXPECT_EQ(status.code(), -1) << type;
  }
}

TEST_F(LoggingBlockTest, KeepsItsTypeAfterAnError) {
  status.set(-5);
  EXPECT_EQ(block.blockType(kBlockType2, status), kBlockType1);
  EXPECT_EQ(status.code(), -5);
}

// Engine

TEST_F(LoggingBlockTest, GoesBackToItsFactory) {
  block.returnToFactory();
  EXPECT_THAT(factory.taken, ElementsAre(&block));
}

TEST(LoggingBlock, WithoutAFactoryStaysWhereItIs) {
  LoggingBlock block(nullptr);
  block.returnToFactory();
  EXPECT_EQ(block.used(), 0);
}

TEST_F(LoggingBlockTest, IsEmptyAfterClearAndOfItsTypeStill) {
  block.blockType(kBlockType2, status);
  block.write("abc", 3, status);
  block.clear();
  EXPECT_EQ(block.used(), 0);
  EXPECT_EQ(block.room(), 512);
  EXPECT_EQ(block.blockType(), kBlockType2);
  EXPECT_THAT(factory.taken, IsEmpty());
}

}  // namespace
}  // namespace qv::tests
