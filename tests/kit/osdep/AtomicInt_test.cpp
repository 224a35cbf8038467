#include "kit/osdep/AtomicInt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <future>
#include <numeric>
#include <thread>
#include <type_traits>
#include <vector>

#include "kit/exception/OutOfRange.h"
#include "tests/Longs.h"

namespace {

using qv::kit::exception::OutOfRange;
using qv::kit::osdep::AtomicInt;

constexpr std::int32_t kSmallest = INT32_MIN;
constexpr std::int32_t kLargest = INT32_MAX;

TEST(AtomicInt, StartsAtItsInitialValue) {
  EXPECT_EQ(AtomicInt(0).getCount(), 0);
  EXPECT_EQ(AtomicInt(-7).getCount(), -7);
}

TEST(AtomicInt, IsNotCopyable) {
  EXPECT_FALSE(std::is_copy_constructible_v<AtomicInt>);
}

TEST(AtomicIntCompareExchange, OfTheExpectedValueExchangesAndReturnsTheValueBefore) {
  AtomicInt value(5);
  EXPECT_EQ(value.compareExchange(5, 9), 5);
  EXPECT_EQ(value.getCount(), 9);
}

TEST(AtomicIntCompareExchange, OfAnotherValueLeavesItAndReturnsIt) {
  AtomicInt value(4);
  EXPECT_EQ(value.compareExchange(5, 9), 4);
  EXPECT_EQ(value.getCount(), 4);
}

TEST(AtomicIntCompareExchange, TakesThirtyTwoBitIntegersToTheirLimits) {
  AtomicInt value(kSmallest);
  const std::int32_t comparand = kSmallest;
  const std::int32_t exchange = kLargest;
  EXPECT_EQ(value.compareExchange(comparand, exchange), kSmallest);
  EXPECT_EQ(value.getCount(), kLargest);
}

TEST(AtomicInt, ComparesWithIntegers) {
  const AtomicInt value(3);
  EXPECT_TRUE(value >= 3);
  EXPECT_TRUE(value >= 2);
  EXPECT_FALSE(value >= 4);
  EXPECT_TRUE(value > 2);
  EXPECT_FALSE(value > 3);
  EXPECT_TRUE(value != 4);
  EXPECT_FALSE(value != 3);
  EXPECT_TRUE(value == 3);
  EXPECT_FALSE(value == 4);
}

TEST(AtomicInt, ComparesAsASignedValue) {
  const AtomicInt value(-1);
  EXPECT_FALSE(value >= 0);
  EXPECT_TRUE(value > -2);
}

TEST(AtomicInt, ReplaceAndReturnGivesThePreviousValue) {
  AtomicInt value(3);
  EXPECT_EQ(value.replaceAndReturn(-8L), 3);
  EXPECT_EQ(value.getCount(), -8);
}

TEST(AtomicInt, ReplaceSetsTheValue) {
  AtomicInt value(3);
  value.replace(11);
  EXPECT_EQ(value.getCount(), 11);
}

TEST(AtomicInt, IncrementAndDecrementReturnTheNewValue) {
  AtomicInt value(-1);
  EXPECT_EQ(value.increment(), 0);
  EXPECT_EQ(value.increment(), 1);
  EXPECT_EQ(value.decrement(), 0);
  EXPECT_EQ(value.decrement(), -1);
  EXPECT_EQ(value.getCount(), -1);
}

TEST(AtomicInt, PeekGivesTheValueThatEachOperationLeft) {
  AtomicInt value(-7);
  EXPECT_EQ(value.peek(), -7);
  value.increment();
  EXPECT_EQ(value.peek(), -6);
  value.replace(3);
  EXPECT_EQ(value.peek(), 3);
  value.compareExchange(3, 9);
  EXPECT_EQ(value.peek(), 9);
}

TEST(AtomicInt, CountingPastALimitGoesOnAtTheOther) {
  AtomicInt value(kLargest);
  EXPECT_EQ(value.increment(), kSmallest);
  EXPECT_EQ(value.decrement(), kLargest);
}

void ExpectTaken(long value) {
  AtomicInt atomic(7);
  EXPECT_EQ(atomic.compareExchange(7, value), 7);
  EXPECT_EQ(atomic.compareExchange(value, 8), value);
  EXPECT_EQ(atomic.replaceAndReturn(value), 8);
  EXPECT_EQ(atomic.getCount(), value);
}

void ExpectRefused(long value) {
  const auto cut = static_cast<std::int32_t>(value);
  AtomicInt atomic(cut);
  EXPECT_THROW(atomic.compareExchange(value, 5), OutOfRange) << value;
  EXPECT_THROW(atomic.compareExchange(cut, value), OutOfRange) << value;
  EXPECT_THROW(atomic.replaceAndReturn(value), OutOfRange) << value;
  EXPECT_THROW(atomic.replace(value), OutOfRange) << value;
  EXPECT_EQ(atomic.getCount(), cut);
}

TEST(AtomicInt, TakesALongOfThirtyTwoBitsAndRefusesAnyOtherWithNothingChanged) {
  for (const auto value : LongsAroundTheLimits<long>())
    FitsInt32(value) ? ExpectTaken(value) : ExpectRefused(value);
}

// All start together, so that they meet.
template <typename Action>
void InManyThreads(int count, Action action) {
  std::promise<void> start;
  const std::shared_future<void> started(start.get_future());
  std::vector<std::thread> threads;
  for (int i = 0; i != count; ++i)
    threads.emplace_back([&] {
      started.wait();
      action();
    });
  start.set_value();
  for (std::thread& thread : threads)
    thread.join();
}

TEST(AtomicInt, NoChangeIsLostBetweenThreads) {
  AtomicInt value(0);
  InManyThreads(8, [&] {
    for (int i = 0; i != 10000; ++i) {
      value.increment();
      value.increment();
      value.decrement();
    }
  });
  EXPECT_EQ(value.getCount(), 80000);
}

TEST(AtomicInt, ReplaceAndReturnHandsEachValueToOneThreadOnly) {
  constexpr std::int32_t kThreads = 8;
  constexpr std::int32_t kRounds = 20000;
  AtomicInt value(0);
  std::vector<std::vector<std::int32_t>> taken(kThreads);
  AtomicInt nextThread(-1);
  InManyThreads(kThreads, [&] {
    const std::int32_t thread = nextThread.increment();
    std::vector<std::int32_t>& mine = taken[static_cast<std::size_t>(thread)];
    for (std::int32_t round = 0; round != kRounds; ++round)
      mine.push_back(value.replaceAndReturn(1 + thread * kRounds + round));
  });
  std::vector<std::int32_t> all{value.getCount()};
  for (const std::vector<std::int32_t>& mine : taken)
    all.insert(all.end(), mine.begin(), mine.end());
  std::sort(all.begin(), all.end());
  std::vector<std::int32_t> expected(1 + kThreads * kRounds);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_TRUE(all == expected) << "a value was lost or handed out twice";
}

TEST(AtomicInt, ReplaceNeverUndoesAConcurrentExchange) {
  // Once the value is 1 it stays: only 0 is exchanged for 0, and the other thread replaces by 1.
  for (int round = 0; round != 2000; ++round) {
    AtomicInt value(0);
    std::thread replacing([&] { value.replace(1); });
    for (int i = 0; i != 20; ++i)
      value.compareExchange(0, 0);
    replacing.join();
    ASSERT_EQ(value.getCount(), 1) << round;
  }
}

TEST(AtomicIntCompareExchange, IsWonByOneThreadOnly) {
  AtomicInt value(0);
  AtomicInt winners(0);
  InManyThreads(8, [&] {
    if (value.compareExchange(0, 1) == 0) winners.increment();
  });
  EXPECT_EQ(winners.getCount(), 1);
}

}  // namespace
