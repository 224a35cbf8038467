#include "source/LockArray.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <new>

#include "tests/doubles/FailingAllocator.h"
#include "tests/doubles/FailingMutexes.h"

namespace {

using qv::tests::FailingMutexes;
using qvsslinit::LockArray;

TEST(LockArray, DestroysTheLastLockFirst) {
  const FailingMutexes mutexes;
  LockArray locks;
  locks.create(4);
  locks.destroy();
  EXPECT_THAT(mutexes.destroyed(), testing::ElementsAre(3, 2, 1, 0));
}

TEST(LockArray, KeepsLocksInMemoryUntilTheyAreLeft) {
  const FailingMutexes mutexes;
  LockArray locks;
  for (int i = 0; i < 2; ++i) {
    locks.create(2);
    locks.enter(1);
    locks.enter(1);
    locks.destroy();
    EXPECT_EQ(locks.at(0), nullptr);
    EXPECT_EQ(mutexes.mutexesAlive(), 2);
    locks.leave(1);
    locks.destroy();
    EXPECT_EQ(mutexes.mutexesAlive(), 2) << "entered twice and left once";
    locks.leave(1);
    locks.destroy();
    EXPECT_EQ(mutexes.mutexesAlive(), 0);
  }
}

TEST(LockArray, KeepsNothingInMemoryForAnEnteringThatFoundNoLocks) {
  const FailingMutexes mutexes;
  LockArray locks;
  locks.enter(0);
  locks.create(1);
  locks.destroy();
  EXPECT_EQ(mutexes.mutexesAlive(), 0);
}

TEST(LockArray, KeepsTheOldLocksWhereThereIsNoMemoryForNewOnes) {
  LockArray locks;
  locks.create(2);
  for (std::uint32_t n = 1;; ++n) {
    const auto* const old = locks.at(0);
    bool failed = false;
    {
      qv::tests::FailingAllocator allocator;
      allocator.IncludeNew();
      allocator.FailCall(n);
      try {
        locks.create(3);
      } catch (const std::bad_alloc&) {
        failed = true;
      }
    }
    if (!failed) {
      EXPECT_GT(n, 3u);  // one for the array and one at least for each lock
      break;
    }
    EXPECT_EQ(locks.at(0), old) << n;
  }
}

TEST(LockArray, GivesTheLocksBackThatWereMadeBeforeOneCouldNotBe) {
  FailingMutexes mutexes;
  {
    LockArray locks;
    qv::tests::FailingAllocator allocator;
    allocator.IncludeNew();
    allocator.FailCall(6);
    EXPECT_THROW(locks.create(3), std::bad_alloc);
    EXPECT_EQ(locks.at(0), nullptr);
  }
  EXPECT_EQ(mutexes.mutexesAlive(), 0);
}

}  // namespace
