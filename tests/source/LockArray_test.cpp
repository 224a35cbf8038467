#include "source/LockArray.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

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

TEST(LockArray, EntersAndLeavesTheLockWithTheIndex) {
  LockArray locks;
  locks.create(2);
  locks.enter(1);
  locks.enter(1);
  EXPECT_TRUE(IsFree(locks.at(0)));
  locks.leave(1);
  EXPECT_FALSE(IsFree(locks.at(1)));
  std::thread([&] { locks.leave(1); }).join();
  EXPECT_FALSE(IsFree(locks.at(1))) << "another thread cannot leave it";
  locks.leave(1);
  EXPECT_TRUE(IsFree(locks.at(1)));
}

TEST(LockArray, WithoutLocksEntersNothing) {
  const LockArray locks;
  locks.enter(0);
  std::thread([&] { locks.enter(0); }).join();
  locks.leave(0);
}

TEST(LockArray, CreatedAgainWhileALockIsHeldHasFreeOnesAndLeavesTheOldOne) {
  LockArray locks;
  locks.create(3);
  const CriticalSection* const old = locks.at(2);
  locks.enter(2);
  locks.create(1);
  EXPECT_TRUE(IsFree(locks.at(0)));
  EXPECT_FALSE(IsFree(old));
  locks.leave(2);
  EXPECT_TRUE(IsFree(old));
}

TEST(LockArray, DestroyedWhileOneThreadHoldsALockAndOthersWaitLetsThemAllGo) {
  constexpr int kRounds = 50;
  LockArray locks;
  for (int round = 0; round < kRounds; ++round) {
    locks.create(1);
    std::promise<void> isHeld;
    const auto use = [&] {
      locks.enter(0);
      locks.leave(0);
    };
    std::thread holder([&] {
      locks.enter(0);
      isHeld.set_value();
      std::this_thread::yield();
      locks.leave(0);
    });
    isHeld.get_future().wait();
    std::thread first(use);
    std::thread second(use);
    locks.destroy();
    for (std::thread* thread : {&holder, &first, &second})
      thread->join();
  }
}

TEST(LockArray, HasNoLocksOnceTheyAreDestroyed) {
  LockArray locks;
  locks.create(1);
  locks.destroy();
  EXPECT_EQ(locks.at(0), nullptr);
}

}  // namespace
