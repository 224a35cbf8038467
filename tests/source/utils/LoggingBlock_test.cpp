#include "source/utils/LoggingBlock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "source/client/ITraceEngine.h"
#include "tests/doubles/ObjectLayout.h"

namespace qv::tests {
namespace {

using kit::StatusChain;
using kit::String;
using testing::ElementsAre;
using testing::IsEmpty;
using traceengine::BlockType;
using traceengine::ILoggingBlockFactory;
using traceengine::ITraceEngine;
using traceengine::kBlockType1;
using traceengine::kBlockType2;
using traceengine::LoggingBlock;

/// A block as an engine sees it that was built without these headers.
struct BlockLayout {
  const void* const* operations;
  std::int32_t used;
  std::int32_t enginesOwn;
  std::uint32_t timeStamp[4];
  std::int32_t type;
  char payload[512];
  const void* factory;
};
static_assert(sizeof(BlockLayout) == sizeof(LoggingBlock));
// 32-bit code is what the offsets are documented for.
constexpr bool kIs32Bit = sizeof(void*) == 4;
static_assert(!kIs32Bit || offsetof(BlockLayout, used) == 4);
static_assert(!kIs32Bit || offsetof(BlockLayout, enginesOwn) == 8);
static_assert(!kIs32Bit || offsetof(BlockLayout, timeStamp) == 12);
static_assert(!kIs32Bit || offsetof(BlockLayout, type) == 28);
static_assert(!kIs32Bit || offsetof(BlockLayout, payload) == 32);
static_assert(!kIs32Bit || offsetof(BlockLayout, factory) == 544);

BlockLayout LayoutOf(const LoggingBlock& block) {
  BlockLayout layout;
  std::memcpy(&layout, static_cast<const void*>(&block), sizeof(layout));
  return layout;
}

void SetUsed(LoggingBlock& block, std::int32_t used) {
  std::memcpy(reinterpret_cast<char*>(&block) + offsetof(BlockLayout, used), &used, sizeof(used));
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

// Layout

TEST_F(LoggingBlockTest, HasItsFieldsWhereTheyAreDocumented) {
  block.stampCurrentTime();
  block.write("abc", 3, status);
  block.blockType(kBlockType2, status);
  const BlockLayout layout = LayoutOf(block);
  EXPECT_EQ(layout.used, 3);
  EXPECT_EQ(layout.enginesOwn, 0);
  EXPECT_EQ(layout.type, 2);
  EXPECT_EQ(std::string(layout.payload, 4), std::string("abc\0", 4));
  EXPECT_EQ(layout.factory, &factory);
  const std::uint64_t seconds =
      static_cast<std::uint64_t>(layout.timeStamp[3]) << 32U | layout.timeStamp[2];
  EXPECT_EQ(static_cast<std::int64_t>(seconds), block.timeStamp().seconds());
  const std::uint64_t fraction =
      static_cast<std::uint64_t>(layout.timeStamp[1]) << 32U | layout.timeStamp[0];
  EXPECT_EQ(fraction, block.timeStamp().fraction());
}

struct ObservedBlock : LoggingBlock {
  explicit ObservedBlock(int* ends) : LoggingBlock(nullptr), ends_(ends) {}
  ~ObservedBlock() override { ++*ends_; }
  int* ends_;
};

TEST(LoggingBlock, HasItsDestructorsInTheFirstTwoSlots) {
  using Operation = void (*)(void* self);
  int ends = 0;
  alignas(ObservedBlock) unsigned char place[sizeof(ObservedBlock)];
  auto* const inPlace = new (place) ObservedBlock(&ends);
  reinterpret_cast<Operation>(const_cast<void*>(LayoutOf(*inPlace).operations[0]))(inPlace);
  EXPECT_EQ(ends, 1);
  // Frees the block besides, which a sanitizer would miss.
  auto* const onHeap = new ObservedBlock(&ends);
  reinterpret_cast<Operation>(const_cast<void*>(LayoutOf(*onHeap).operations[1]))(onHeap);
  EXPECT_EQ(ends, 2);
}

TEST(LoggingBlockFactory, GivesOutInTheFirstSlotAndTakesBackInTheSecond) {
  EXPECT_EQ(VirtualSlot(&ILoggingBlockFactory::giveOut), 0u);
  EXPECT_EQ(VirtualSlot(&ILoggingBlockFactory::takeBack), 1u);
}

TEST(TraceEngineInterface, HasItsOperationsInTheirSlots) {
  EXPECT_EQ(VirtualSlot(&kit::IRefCounted::addRef), 0u);
  EXPECT_EQ(VirtualSlot(&kit::IRefCounted::release), 1u);
  EXPECT_EQ(VirtualSlot(&ITraceEngine::addRef), 0u);
  EXPECT_EQ(VirtualSlot(&ITraceEngine::release), 1u);
  EXPECT_EQ(VirtualSlot(&ITraceEngine::sendBlock), 2u);
  EXPECT_EQ(VirtualSlot(&ITraceEngine::getFreeBlock), 3u);
  EXPECT_EQ(VirtualSlot(&ITraceEngine::showTagNames), 4u);
  EXPECT_EQ(VirtualSlot(&ITraceEngine::getConfigDirectory), 5u);
  EXPECT_EQ(VirtualSlot(&ITraceEngine::noteDroppedRecord), 6u);
}

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
  EXPECT_EQ(LayoutOf(block).payload[3], '\0');
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
