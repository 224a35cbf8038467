#pragma once

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <type_traits>

namespace nQVSS100 {

/// A fixed-point number of 128 bits, 64 of them fraction, in two's complement when it is signed: an
/// integer part and a fraction that counts upwards from it, in units of 2^-64. Held as four 32-bit
/// words, the least significant first.
///
/// Arithmetic is exact and never fails, but for a division by zero: what does not fit in 128 bits
/// keeps its low 128 bits, so the most negative number is its own negation. Operands may be the
/// same object.
template <int kFractionBits, bool kSigned>
class tFixedPoint128 {
  static_assert(kFractionBits == 64);

 public:
  /// What the integer part is.
  using Integer = std::conditional_t<kSigned, std::int64_t, std::uint64_t>;

  /// 0.
  constexpr tFixedPoint128() noexcept : words_{} {}
  /// @{
  /// An integer. A negative value of an unsigned number is what is left of it modulo 2^64, as for
  /// integers.
  constexpr tFixedPoint128(int value) noexcept  // NOLINT(google-explicit-constructor)
      : tFixedPoint128(Halves{static_cast<std::uint64_t>(std::int64_t{value}), 0}) {}
  constexpr tFixedPoint128(unsigned value) noexcept  // NOLINT(google-explicit-constructor)
      : tFixedPoint128(Halves{value, 0}) {}
  constexpr tFixedPoint128(unsigned long value) noexcept  // NOLINT(google-explicit-constructor)
      : tFixedPoint128(Halves{value, 0}) {}
  /// @}
  /// The four words of 32 bits: the integer part, then the fraction in units of 2^-64.
  constexpr tFixedPoint128(std::uint32_t integerHigh, std::uint32_t integerLow,
                           std::uint32_t fractionHigh, std::uint32_t fractionLow) noexcept
      : words_{fractionLow, fractionHigh, integerLow, integerHigh} {}

  /// The greatest integer that is not above the number.
  constexpr Integer integer() const noexcept { return static_cast<Integer>(halves().high); }
  /// What is left above that integer, in units of 2^-64.
  constexpr std::uint64_t fraction() const noexcept { return halves().low; }

  /// Becomes 0.
  void Zero() noexcept { *this = tFixedPoint128(); }
  /// Whether it is 0.
  bool operator!() const noexcept { return *this == tFixedPoint128(); }
  /// Never for an unsigned number.
  bool IsNegative() const noexcept { return kSigned && words_[3] >> 31U != 0; }

  /// Every bit becomes the opposite one.
  void Invert() noexcept {
    for (std::uint32_t& word : words_)
      word = ~word;
  }
  /// Adds 2^-64. The greatest number is followed by the least.
  void IncrementLSB() noexcept { *this += tFixedPoint128(0, 0, 0, 1); }
  /// Becomes what added to it gives 0.
  void Negate() noexcept {
    Invert();
    IncrementLSB();
  }

  /// @{
  /// Adds other, or takes it away.
  tFixedPoint128& operator+=(const tFixedPoint128& other) noexcept {
    const Halves a = halves();
    const Halves b = other.halves();
    const std::uint64_t low = a.low + b.low;
    const std::uint64_t carry = low < a.low ? 1 : 0;
    return *this = tFixedPoint128(Halves{a.high + b.high + carry, low});
  }
  tFixedPoint128& operator-=(const tFixedPoint128& other) noexcept {
    return *this = tFixedPoint128(difference(halves(), other.halves()));
  }
  /// @}
  /// Rounds the magnitude to the nearest multiple of 2^-64, halves away from zero.
  tFixedPoint128& operator*=(const tFixedPoint128& other) noexcept {
    const bool negative = IsNegative() != other.IsNegative();
    *this = productOfMagnitudes(magnitude(), other.magnitude());
    if (negative) Negate();
    return *this;
  }
  /// Cuts the quotient towards zero. A divisor of zero is the arithmetic fault that it is for
  /// integers: SIGFPE, and the program ends even where that signal is handled.
  tFixedPoint128& operator/=(const tFixedPoint128& divisor) {
    DivideBy(divisor);
    return *this;
  }
  /// As operator/=, and returns the remainder in units of 2^-128: dividend = quotient * divisor +
  /// remainder holds exactly. It has the sign of the dividend.
  tFixedPoint128 DivideBy(const tFixedPoint128& divisor) {
    if (!divisor) raiseArithmeticFault();
    if (!*this) return *this;
    const bool negative = IsNegative();
    const bool negativeQuotient = negative != divisor.IsNegative();
    tFixedPoint128 remainder;
    *this = quotientOfMagnitudes(magnitude(), divisor.magnitude(), remainder);
    if (negativeQuotient) Negate();
    if (negative) remainder.Negate();
    return remainder;
  }

  /// @{
  /// As Negate(), operator-=() and operator*=(), with a new object for the result.
  tFixedPoint128 operator-() const noexcept {
    tFixedPoint128 result = *this;
    result.Negate();
    return result;
  }
  friend tFixedPoint128 operator-(tFixedPoint128 a, const tFixedPoint128& b) noexcept {
    return a -= b;
  }
  friend tFixedPoint128 operator*(tFixedPoint128 a, const tFixedPoint128& b) noexcept {
    return a *= b;
  }
  /// @}

  /// @{
  /// By value.
  friend bool operator==(const tFixedPoint128& a, const tFixedPoint128& b) noexcept {
    return a.integer() == b.integer() && a.fraction() == b.fraction();
  }
  friend bool operator>=(const tFixedPoint128& a, const tFixedPoint128& b) noexcept {
    return a.integer() != b.integer() ? a.integer() > b.integer() : a.fraction() >= b.fraction();
  }
  /// @}

  /// Moves all bits count places up, zeros following from below; a negative count moves them down,
  /// as RightShift does. 128 places and more leave no bit of the number.
  void LeftShift(int count, bool signFill) noexcept { shift(std::int64_t{count}, signFill); }
  /// Moves all bits count places down; a negative count moves them up, as LeftShift does. From
  /// above follow copies of the sign when signFill is set, else zeros; an unsigned number has no
  /// sign but zero.
  void RightShift(int count, bool signFill) noexcept { shift(-std::int64_t{count}, signFill); }

 private:
  struct Halves {
    std::uint64_t high;
    std::uint64_t low;
  };

  explicit constexpr tFixedPoint128(Halves halves) noexcept
      : words_{static_cast<std::uint32_t>(halves.low),
               static_cast<std::uint32_t>(halves.low >> 32U),
               static_cast<std::uint32_t>(halves.high),
               static_cast<std::uint32_t>(halves.high >> 32U)} {}

  constexpr Halves halves() const noexcept {
    return {std::uint64_t{words_[3]} << 32U | words_[2],
            std::uint64_t{words_[1]} << 32U | words_[0]};
  }

  /// To be read as 128 bits without a sign: the most negative number has a magnitude too.
  tFixedPoint128 magnitude() const noexcept { return IsNegative() ? -*this : *this; }

  static constexpr Halves difference(Halves a, Halves b) noexcept {
    const std::uint64_t borrow = a.low < b.low ? 1 : 0;
    return {a.high - b.high - borrow, a.low - b.low};
  }

  static tFixedPoint128 productOfMagnitudes(const tFixedPoint128& a,
                                            const tFixedPoint128& b) noexcept {
    std::uint32_t product[8] = {};
    for (int i = 0; i < 4; ++i) {
      std::uint64_t carry = 0;
      for (int j = 0; j < 4; ++j) {
        carry += std::uint64_t{a.words_[i]} * b.words_[j] + product[i + j];
        product[i + j] = static_cast<std::uint32_t>(carry);
        carry >>= 32U;
      }
      product[i + 4] = static_cast<std::uint32_t>(carry);
    }
    tFixedPoint128 kept(product[5], product[4], product[3], product[2]);
    if (product[1] >> 31U != 0) kept.IncrementLSB();
    return kept;
  }

  /// Long division of the dividend, moved up by the fraction's 64 bits, one bit after another.
  static tFixedPoint128 quotientOfMagnitudes(const tFixedPoint128& dividend,
                                             const tFixedPoint128& divisor,
                                             tFixedPoint128& remainder) noexcept {
    const Halves whole = divisor.halves();
    Halves rest = {0, 0};
    Halves quotient = {0, 0};
    const Halves source = dividend.halves();
    for (std::uint64_t bits : {source.high, source.low, std::uint64_t{0}}) {
      for (int place = 0; place < 64; ++place, bits <<= 1U) {
        const bool carry = rest.high >> 63U != 0;
        rest = {rest.high << 1U | rest.low >> 63U, rest.low << 1U | bits >> 63U};
        quotient = {quotient.high << 1U | quotient.low >> 63U, quotient.low << 1U};
        if (!carry && less(rest, whole)) continue;
        rest = difference(rest, whole);
        quotient.low |= 1U;
      }
    }
    remainder = tFixedPoint128(rest);
    return tFixedPoint128(quotient);
  }

  static constexpr bool less(Halves a, Halves b) noexcept {
    return a.high != b.high ? a.high < b.high : a.low < b.low;
  }

  /// Up for a positive count, down for a negative one.
  void shift(std::int64_t count, bool signFill) noexcept {
    const std::uint64_t fill = signFill && IsNegative() ? ~std::uint64_t{0} : 0;
    Halves bits = halves();
    count = std::clamp<std::int64_t>(count, -128, 128);
    for (; count >= 64; count -= 64)
      bits = {bits.low, 0};
    for (; count <= -64; count += 64)
      bits = {fill, bits.high};
    if (count > 0) {
      bits = {bits.high << count | bits.low >> (64 - count), bits.low << count};
    } else if (count < 0) {
      bits = {bits.high >> -count | fill << (64 + count),
              bits.low >> -count | bits.high << (64 + count)};
    }
    *this = tFixedPoint128(bits);
  }

  /// Some processors divide integers by zero without a word, so the signal is sent.
  [[noreturn]] static void raiseArithmeticFault() {
    std::raise(SIGFPE);
    std::abort();
  }

  std::uint32_t words_[4];
};

}  // namespace nQVSS100
