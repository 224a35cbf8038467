#include "kit/big_endian.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace {

using namespace qv::kit;
using testing::ElementsAre;

TEST(CopyToBigEndian, ReversesTheBytes) {
  const std::array<unsigned char, 4> source{4, 3, 2, 1};
  std::array<unsigned char, 5> destination{0, 0, 0, 0, 9};
  big_endian::CopyToBigEndian(4, destination.data(), source.data());
  EXPECT_THAT(destination, ElementsAre(1, 2, 3, 4, 9));
}

TEST(CopyToBigEndian, TakesOddCountsAndNone) {
  const std::array<unsigned char, 3> source{7, 8, 9};
  std::array<unsigned char, 3> destination{};
  big_endian::CopyToBigEndian(0, destination.data(), source.data());
  EXPECT_THAT(destination, ElementsAre(0, 0, 0));
  big_endian::CopyToBigEndian(3, destination.data(), source.data());
  EXPECT_THAT(destination, ElementsAre(9, 8, 7));
}

TEST(CopyFromBigEndian, ReversesTheBytes) {
  const std::array<unsigned char, 4> source{1, 2, 3, 4};
  std::array<unsigned char, 4> destination{};
  big_endian::CopyFromBigEndian(4, destination.data(), source.data());
  EXPECT_THAT(destination, ElementsAre(4, 3, 2, 1));
}

TEST(CopyToBigEndian, ACountThatNeedsMoreThanThirtyTwoBitsIsRefused) {
  // Where an unsigned long has no more bits, it is the count 2.
  constexpr auto kCount = static_cast<unsigned long>(std::uint64_t{0x100000002});
  const std::array<unsigned char, 2> source{1, 2};
  std::array<unsigned char, 2> destination{};
  if (kCount == 2) {
    big_endian::CopyToBigEndian(kCount, destination.data(), source.data());
    EXPECT_THAT(destination, ElementsAre(2, 1));
  } else {
    EXPECT_THROW(big_endian::CopyToBigEndian(kCount, destination.data(), source.data()),
                 exception::OutOfRange);
    EXPECT_THAT(destination, ElementsAre(0, 0));
  }
}

}  // namespace
