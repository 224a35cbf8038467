#include "source/HandleNumbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <set>
#include <vector>

namespace qvsslinit {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

TEST(HandleNumbers, KeepWhatIsAddedInItsOrder) {
  HandleNumbers numbers;
  EXPECT_THAT(numbers.all(), IsEmpty());
  for (const std::int32_t number : {1, 2, 7, std::numeric_limits<std::int32_t>::max()})
    numbers.add(number);
  EXPECT_THAT(numbers.all(), ElementsAre(1, 2, 7, std::numeric_limits<std::int32_t>::max()));
}

TEST(HandleNumbers, AreRemovedOnce) {
  HandleNumbers numbers;
  for (std::int32_t number = 1; number <= 5; ++number)
    numbers.add(number);
  EXPECT_TRUE(numbers.remove(2));
  EXPECT_FALSE(numbers.remove(2));
  EXPECT_THAT(numbers.all(), ElementsAre(1, 3, 4, 5));
}

TEST(HandleNumbers, AreNotRemovedWhenTheyWereNeverThere) {
  HandleNumbers numbers;
  EXPECT_FALSE(numbers.remove(1));
  for (const std::int32_t number : {2, 4, 6, 8})
    numbers.add(number);
  numbers.remove(4);
  for (const std::int32_t number : {std::numeric_limits<std::int32_t>::min(), -4, -2, 0, 1, 3, 5, 9,
                                    std::numeric_limits<std::int32_t>::max()})
    EXPECT_FALSE(numbers.remove(number)) << number;
  EXPECT_THAT(numbers.all(), ElementsAre(2, 6, 8));
}

TEST(HandleNumbers, AreNotRemovedByTheNegativeOfOneThatIsGone) {
  HandleNumbers numbers;
  for (std::int32_t number = 1; number <= 6; ++number)
    numbers.add(number);
  numbers.remove(5);
  numbers.remove(6);
  EXPECT_FALSE(numbers.remove(-5));
  EXPECT_THAT(numbers.all(), ElementsAre(1, 2, 3, 4));
}

TEST(HandleNumbers, AreThoseOfAPlainSetWhateverTheOrder) {
  std::mt19937 chance(1);
  HandleNumbers numbers;
  std::set<std::int32_t> plain;
  for (std::int32_t next = 1; next < 5000;) {
    // As many go as come, so that there are few for long.
    if (chance() % 2 == 0) {
      plain.insert(next);
      numbers.add(next++);
    } else {
      const auto wanted = static_cast<std::int32_t>(chance() % static_cast<unsigned>(next));
      ASSERT_EQ(numbers.remove(wanted), plain.erase(wanted) == 1) << wanted;
    }
  }
  EXPECT_THAT(numbers.all(), ElementsAreArray(plain));
}

TEST(HandleNumbers, MayHaveGapsAndBeginAnywhere) {
  std::mt19937 chance(2);
  for (int round = 0; round < 200; ++round) {
    HandleNumbers numbers;
    std::set<std::int32_t> plain;
    for (auto next = static_cast<std::int32_t>(1 + chance() % 1000); plain.size() < 60;
         next += static_cast<std::int32_t>(1 + chance() % 3 * (chance() % 100))) {
      plain.insert(next);
      numbers.add(next);
    }
    const std::int32_t end = *plain.rbegin() + 3;
    for (int i = 0; i < 400; ++i) {
      const auto wanted = static_cast<std::int32_t>(chance() % static_cast<unsigned>(end));
      ASSERT_EQ(numbers.remove(wanted), plain.erase(wanted) == 1) << wanted;
    }
    ASSERT_THAT(numbers.all(), ElementsAreArray(plain));
  }
}

// Minutes, if a removal moved the rest.
TEST(HandleNumbers, OfManyHandlesAreRemovedInAnyOrder) {
  constexpr std::int32_t kMany = 200000;
  std::vector<std::int32_t> rising(kMany);
  std::iota(rising.begin(), rising.end(), 1);
  std::vector<std::int32_t> falling(rising.rbegin(), rising.rend());
  std::vector<std::int32_t> shuffled = rising;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(3));
  for (const auto& order : {rising, falling, shuffled}) {
    HandleNumbers numbers;
    for (const std::int32_t number : rising)
      numbers.add(number);
    for (const std::int32_t number : order)
      ASSERT_TRUE(numbers.remove(number));
    EXPECT_THAT(numbers.all(), IsEmpty());
  }
}

}  // namespace
}  // namespace qvsslinit
