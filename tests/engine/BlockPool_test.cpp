#include "engine/BlockPool.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "tests/engine/FilledBlock.h"

namespace qv::traceengine {
namespace {

std::set<LoggingBlock*> TakeAll(BlockPool& pool) {
  std::set<LoggingBlock*> blocks;
  while (LoggingBlock* block = pool.giveOut())
    EXPECT_TRUE(blocks.insert(block).second);
  return blocks;
}

TEST(BlockPool, GivesOutEachOfItsBlocksOnceAndThenNone) {
  BlockPool pool(3);
  EXPECT_EQ(TakeAll(pool).size(), 3u);
  EXPECT_EQ(pool.giveOut(), nullptr);
}

TEST(BlockPool, GivesABlockThatCameBackOutAgainEmpty) {
  BlockPool pool(1);
  LoggingBlock* block = pool.giveOut();
  tests::Fill(*block, "text");
  block->returnToFactory();
  ASSERT_EQ(pool.giveOut(), block);
  EXPECT_EQ(block->used(), 0);
  EXPECT_EQ(block->room(), 512);
  EXPECT_EQ(block->blockType(), kBlockType1);
}

TEST(BlockPool, PassesOverABlockThatIsFreeAlready) {
  BlockPool pool(2);
  LoggingBlock* block = pool.giveOut();
  pool.takeBack(block);
  pool.takeBack(block);
  pool.takeBack(nullptr);
  EXPECT_EQ(TakeAll(pool).size(), 2u);
}

TEST(BlockPool, LeavesAChildTheBlocksThatItsOneThreadHolds) {
  BlockPool pool(4);
  LoggingBlock* own = pool.giveOut();
  LoggingBlock* queued = pool.giveOut();
  static_cast<PooledBlock*>(queued)->state = PooledBlock::State::kQueued;
  LoggingBlock* others = nullptr;
  std::thread([&] { others = pool.giveOut(); }).join();
  ASSERT_NE(others, nullptr);

  pool.becomeChild();
  const std::set<LoggingBlock*> free = TakeAll(pool);
  EXPECT_EQ(free.size(), 3u);
  EXPECT_EQ(free.count(own), 0u);
}

TEST(BlockPool, NeverGivesABlockToTwoThreads) {
  constexpr int kRounds = 20000;
  BlockPool pool(3);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&pool, i] {
      for (int round = 0; round < kRounds; ++round) {
        LoggingBlock* block = pool.giveOut();
        if (block == nullptr) continue;
        tests::Fill(*block, std::to_string(i));
        EXPECT_EQ(block->payload()[0], static_cast<char>('0' + i));
        pool.takeBack(block);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(TakeAll(pool).size(), 3u);
}

}  // namespace
}  // namespace qv::traceengine
