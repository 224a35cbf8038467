#include "source/LockArray.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using qv::kit::osdep::CriticalSection;
using qvsslinit::LockArray;

// Whether another thread can take the lock at once.
bool IsFree(const CriticalSection* lock) {
  auto entered = std::async(std::launch::async, [lock] {
    const bool free = lock->tryEnter();
    if (free) lock->leave();
    return free;
  });
  return entered.get();
}

TEST(LockArray, HasNoLocksToBeginWith) {
  const LockArray locks;
  EXPECT_EQ(locks.at(0), nullptr);
}

TEST(LockArray, EachLockStandsForItself) {
  LockArray locks;
  locks.create(2);
  locks.at(1)->enter();
  EXPECT_TRUE(IsFree(locks.at(0)));
  EXPECT_FALSE(IsFree(locks.at(1)));
  locks.at(1)->leave();
  EXPECT_TRUE(IsFree(locks.at(1)));
}

TEST(LockArray, CreatedAgainAllLocksAreFree) {
  LockArray locks;
  locks.create(1);
  locks.create(3);
  EXPECT_TRUE(IsFree(locks.at(0)));
  EXPECT_TRUE(IsFree(locks.at(2)));
}

TEST(LockArray, HasNoLocksOnceTheyAreDestroyed) {
  LockArray locks;
  locks.create(1);
  locks.destroy();
  EXPECT_EQ(locks.at(0), nullptr);
}

}  // namespace
