#include "source/HandleNumbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
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

}  // namespace
}  // namespace qvsslinit
