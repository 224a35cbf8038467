#include "engine/RecordQueue.h"

#include <gtest/gtest.h>

#include <thread>

namespace qv::traceengine {
namespace {

TEST(RecordQueue, GivesAllThatIsThereInTheOrderInWhichItCame) {
  RecordQueue queue;
  PooledBlock a(nullptr);
  PooledBlock b(nullptr);
  queue.push(a);
  queue.push(b);
  const RecordQueue::Batch batch = queue.take();
  EXPECT_EQ(batch.first, &a);
  EXPECT_EQ(a.next, &b);
  EXPECT_EQ(b.next, nullptr);
  EXPECT_EQ(batch.dropped, 0u);
  EXPECT_FALSE(batch.isClosed);

  queue.push(a);
  EXPECT_EQ(queue.take().first, &a);
  EXPECT_EQ(a.next, nullptr);
}

TEST(RecordQueue, CountsDroppedRecordsUntilTheyAreTaken) {
  RecordQueue queue;
  queue.noteDropped();
  queue.noteDropped();
  EXPECT_EQ(queue.take().dropped, 2u);
  queue.noteDropped();
  EXPECT_EQ(queue.take().dropped, 1u);
}

TEST(RecordQueue, AddsWhatWasCountedQuietlyToTheNextNews) {
  RecordQueue queue;
  queue.noteDroppedQuietly(5);
  PooledBlock block(nullptr);
  std::thread sender([&] { queue.push(block); });
  const RecordQueue::Batch batch = queue.take();
  sender.join();
  EXPECT_EQ(batch.first, &block);
  EXPECT_EQ(batch.dropped, 5u);
}

TEST(RecordQueue, LetsNobodyWaitOnceItIsClosed) {
  RecordQueue queue;
  std::thread closer([&] { queue.close(); });
  const RecordQueue::Batch batch = queue.take();
  closer.join();
  EXPECT_TRUE(batch.isClosed);
  EXPECT_EQ(batch.first, nullptr);
  EXPECT_TRUE(queue.take().isClosed);
  queue.open();
  queue.noteDropped();
  EXPECT_FALSE(queue.take().isClosed);
}

TEST(RecordQueue, IsEmptyInAChild) {
  RecordQueue queue;
  PooledBlock block(nullptr);
  queue.push(block);
  queue.noteDropped();
  queue.becomeChild();
  queue.close();
  const RecordQueue::Batch batch = queue.take();
  EXPECT_EQ(batch.first, nullptr);
  EXPECT_EQ(batch.dropped, 0u);
}

}  // namespace
}  // namespace qv::traceengine
