#include "kit/FixedPoint128.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdint>

#include "tests/reference/FixedPointTable.h"

namespace {

using nQVSS100::tFixedPoint128;
using qv::tests::FixedPointRow;
using qv::tests::FixedPointRows;
using Signed = tFixedPoint128<64, true>;
using Unsigned = tFixedPoint128<64, false>;

constexpr std::uint32_t kTop = 0x80000000U;
const Signed kMostNegative(kTop, 0, 0, 0);
const Signed kGreatest(0x7FFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU);
const Signed kLeastFraction(0, 0, 0, 1);

/// Calls check for each row of that name, with a number of the row's type as the second argument.
template <typename CheckT>
void ForEachRow(const char* name, CheckT check) {
  for (const FixedPointRow& row : FixedPointRows(name)) {
    SCOPED_TRACE(row.line());
    if (row.integer(1) != 0) {
      check(row, Signed());
    } else {
      check(row, Unsigned());
    }
    if (testing::Test::HasFailure()) return;
  }
}

/// As ForEachRow for pairs: check takes the operands and the expected number of that column, or is
/// not called where the column has none.
template <typename CheckT>
void ForEachPair(std::size_t column, CheckT check) {
  ForEachRow("pair", [&](const FixedPointRow& row, auto kind) {
    using Fixed = decltype(kind);
    if (row.text(column) == "-") return;
    check(row.number<Fixed>(2), row.number<Fixed>(3), row.number<Fixed>(column));
  });
}

TEST(FixedPoint128, TellsItsIntegerPartAndItsFraction) {
  const Signed number(0xFFFFFFFFU, 0xFFFFFFFEU, kTop, 5);
  EXPECT_EQ(number.integer(), -2);
  EXPECT_EQ(number.fraction(), 0x8000000000000005U);
  EXPECT_EQ(Unsigned(0xFFFFFFFFU, 0xFFFFFFFEU, 0, 0).integer(), 0xFFFFFFFFFFFFFFFEU);
}

TEST(FixedPoint128, IsMadeOfAnInteger) {
  EXPECT_EQ(Signed(7), Signed(0, 7, 0, 0));
  EXPECT_EQ(Signed(-1), Signed(0xFFFFFFFFU, 0xFFFFFFFFU, 0, 0));
  EXPECT_EQ(Signed(INT_MIN), Signed(0xFFFFFFFFU, kTop, 0, 0));
  EXPECT_EQ(Signed(INT_MAX), Signed(0, 0x7FFFFFFFU, 0, 0));
  EXPECT_EQ(Unsigned(-1), Unsigned(0xFFFFFFFFU, 0xFFFFFFFFU, 0, 0));
}

TEST(FixedPoint128, IsMadeOfAnUnsignedInteger) {
  EXPECT_EQ(Signed(0xFFFFFFFFU), Signed(0, 0xFFFFFFFFU, 0, 0));
  EXPECT_EQ(Signed(0xFFFFFFFFUL), Signed(0, 0xFFFFFFFFU, 0, 0));
  EXPECT_EQ(Unsigned(0xFFFFFFFFUL), Unsigned(0, 0xFFFFFFFFU, 0, 0));
}

TEST(FixedPoint128, KeepsAnUnsignedLongWholeWhereItHasMoreThan32Bits) {
  const auto high = static_cast<std::uint32_t>(std::uint64_t{ULONG_MAX} >> 32U);
  EXPECT_EQ(Unsigned(ULONG_MAX), Unsigned(high, 0xFFFFFFFFU, 0, 0));
}

TEST(FixedPoint128, IsZeroUnlessToldOtherwise) {
  EXPECT_EQ(Signed(), Signed(0, 0, 0, 0));
  EXPECT_TRUE(!Signed());
  EXPECT_TRUE(!Unsigned());
}

TEST(FixedPoint128, IsNotZeroWithAnyBitSet) {
  for (int place = 0; place < 128; ++place) {
    Signed number(0, 0, 0, 1);
    number.LeftShift(place, false);
    EXPECT_FALSE(!number) << place;
  }
}

TEST(FixedPoint128, BecomesZero) {
  Signed number(1, 2, 3, 4);
  number.Zero();
  EXPECT_EQ(number, Signed());
}

TEST(FixedPoint128, DiffersInEveryWord) {
  const Signed number(1, 2, 3, 4);
  EXPECT_TRUE(number == Signed(1, 2, 3, 4));
  EXPECT_FALSE(number == Signed(0, 2, 3, 4));
  EXPECT_FALSE(number == Signed(1, 0, 3, 4));
  EXPECT_FALSE(number == Signed(1, 2, 0, 4));
  EXPECT_FALSE(number == Signed(1, 2, 3, 0));
}

TEST(FixedPoint128, AddsAsTheTableSays) {
  ForEachPair(4, [](auto a, auto b, auto expected) { EXPECT_EQ(a += b, expected); });
}

TEST(FixedPoint128, SubtractsAsTheTableSays) {
  ForEachPair(5, [](auto a, auto b, auto expected) {
    EXPECT_EQ(a - b, expected);
    EXPECT_EQ(a -= b, expected);
    EXPECT_EQ(a, expected);
  });
}

TEST(FixedPoint128, MultipliesAsTheTableSays) {
  ForEachPair(6, [](auto a, auto b, auto expected) {
    EXPECT_EQ(a * b, expected);
    EXPECT_EQ(b * a, expected);
    EXPECT_EQ(a *= b, expected);
    EXPECT_EQ(a, expected);
  });
}

TEST(FixedPoint128, DividesAsTheTableSays) {
  ForEachPair(7, [](auto a, auto b, auto expected) {
    EXPECT_EQ(a /= b, expected);
    EXPECT_EQ(a, expected);
  });
}

TEST(FixedPoint128, GivesTheRemainderThatTheTableSays) {
  ForEachPair(8, [](auto a, auto b, auto expected) { EXPECT_EQ(a.DivideBy(b), expected); });
}

TEST(FixedPoint128, ComparesAsTheTableSays) {
  ForEachRow("pair", [](const FixedPointRow& row, auto kind) {
    using Fixed = decltype(kind);
    EXPECT_EQ(row.number<Fixed>(2) >= row.number<Fixed>(3), row.integer(9) != 0);
  });
}

TEST(FixedPoint128, NegatesInvertsAndIncrementsAsTheTableSays) {
  ForEachRow("single", [](const FixedPointRow& row, auto kind) {
    using Fixed = decltype(kind);
    const auto number = row.number<Fixed>(2);
    Fixed negated = number;
    negated.Negate();
    EXPECT_EQ(negated, row.number<Fixed>(3));
    EXPECT_EQ(-number, row.number<Fixed>(3));
    Fixed inverted = number;
    inverted.Invert();
    EXPECT_EQ(inverted, row.number<Fixed>(4));
    Fixed incremented = number;
    incremented.IncrementLSB();
    EXPECT_EQ(incremented, row.number<Fixed>(5));
    EXPECT_EQ(number.IsNegative(), row.integer(6) != 0);
  });
}

TEST(FixedPoint128, ShiftsAsTheTableSays) {
  ForEachRow("shift", [](const FixedPointRow& row, auto kind) {
    using Fixed = decltype(kind);
    const int places = row.integer(3);
    for (const bool signFill : {false, true}) {
      const std::size_t column = signFill ? 6 : 4;
      auto up = row.number<Fixed>(2);
      up.LeftShift(places, signFill);
      EXPECT_EQ(up, row.number<Fixed>(column)) << signFill;
      auto down = row.number<Fixed>(2);
      down.RightShift(places, signFill);
      EXPECT_EQ(down, row.number<Fixed>(column + 1)) << signFill;
    }
  });
}

TEST(FixedPoint128, TakesItselfAsTheOtherOperand) {
  Signed number(1, 2, 3, 4);
  number += number;
  EXPECT_EQ(number, Signed(2, 4, 6, 8));
  Signed square(-3);
  square *= square;
  EXPECT_EQ(square, Signed(9));
  Signed ratio(5, 6, 7, 8);
  EXPECT_EQ(ratio.DivideBy(ratio), Signed());
  EXPECT_EQ(ratio, Signed(1));
  Signed difference(5, 6, 7, 8);
  const Signed& itself = difference;
  difference -= itself;
  EXPECT_EQ(difference, Signed());
}

TEST(FixedPoint128, LeavesTheMostNegativeNumberAsItsOwnNegation) {
  EXPECT_EQ(-kMostNegative, kMostNegative);
  EXPECT_TRUE((-kMostNegative).IsNegative());
}

TEST(FixedPoint128, MultipliesTheMostNegativeNumber) {
  EXPECT_EQ(kMostNegative * Signed(1), kMostNegative);
  EXPECT_EQ(kMostNegative * Signed(-1), kMostNegative);
  EXPECT_EQ(kMostNegative * Signed(2), Signed());
  EXPECT_EQ(kMostNegative * kLeastFraction, -Signed(0, 0, kTop, 0));
}

TEST(FixedPoint128, DividesTheMostNegativeNumber) {
  Signed byItself = kMostNegative;
  EXPECT_EQ(byItself /= kMostNegative, Signed(1));
  Signed byMinusOne = kMostNegative;
  EXPECT_EQ(byMinusOne /= Signed(-1), kMostNegative);
  Signed greatest = kGreatest;
  EXPECT_EQ(greatest.DivideBy(kMostNegative), Signed(0x7FFFFFFFU, 0xFFFFFFFFU, 0, 0));
  EXPECT_EQ(greatest, -Signed(0, 0, 0xFFFFFFFFU, 0xFFFFFFFFU));
}

TEST(FixedPoint128, RoundsProductsAwayFromZeroFromTheHalf) {
  const Signed half(0, 0, kTop, 0);
  const Signed justLess(0, 0, kTop - 1, 0xFFFFFFFFU);
  EXPECT_EQ(kLeastFraction * half, kLeastFraction);
  EXPECT_EQ(kLeastFraction * justLess, Signed());
  EXPECT_EQ(-kLeastFraction * half, -kLeastFraction);
  EXPECT_EQ(-kLeastFraction * justLess, Signed());
}

TEST(FixedPoint128, CutsQuotientsTowardsZero) {
  Signed third(1);
  third /= Signed(3);
  EXPECT_EQ(third, Signed(0, 0, 0x55555555U, 0x55555555U));
  Signed minusThird(-1);
  minusThird /= Signed(3);
  EXPECT_EQ(minusThird, -third);
}

TEST(FixedPoint128, KeepsTheLow128BitsOfAnOversizedQuotient) {
  // By 2^-64: every bit of the quotient stands 64 places higher.
  Unsigned number(1, 2, 3, 4);
  number /= Unsigned(0, 0, 0, 1);
  EXPECT_EQ(number, Unsigned(3, 4, 0, 0));
  Signed negative = -Signed(1, 2, 3, 4);
  negative /= kLeastFraction;
  EXPECT_EQ(negative, -Signed(3, 4, 0, 0));
}

/// Divides with that handler in place, for sanitizers install one of their own.
template <typename FixedT>
void DivideByZero(FixedT dividend, void (*handler)(int)) {
  std::signal(SIGFPE, handler);
  dividend /= FixedT();
}

TEST(FixedPoint128, FaultsOnADivisionByZeroAsIntegersDo) {
  EXPECT_EXIT(DivideByZero(Signed(1), SIG_DFL), testing::KilledBySignal(SIGFPE), "");
  EXPECT_EXIT(DivideByZero(Signed(-1), SIG_DFL), testing::KilledBySignal(SIGFPE), "");
  EXPECT_EXIT(DivideByZero(Unsigned(1), SIG_DFL), testing::KilledBySignal(SIGFPE), "");
}

TEST(FixedPoint128, FaultsOnZeroDividedByZero) {
  EXPECT_EXIT(DivideByZero(Signed(), SIG_DFL), testing::KilledBySignal(SIGFPE), "");
  EXPECT_EXIT(DivideByZero(Unsigned(), SIG_DFL), testing::KilledBySignal(SIGFPE), "");
}

TEST(FixedPoint128, EndsTheProgramEvenWhereTheFaultIsIgnoredOrHandled) {
  EXPECT_EXIT(DivideByZero(Signed(1), SIG_IGN), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(DivideByZero(Signed(1), [](int) {}), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
