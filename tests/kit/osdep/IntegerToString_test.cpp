#include "kit/osdep/IntegerToString.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>

#include "kit/exception/UnableToConvert.h"
#include "tests/doubles/Text.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::tests::Exactly;

template <typename T>
constexpr T kLeast = std::numeric_limits<T>::min();
template <typename T>
constexpr T kMost = std::numeric_limits<T>::max();

std::wstring Ones(std::size_t count) {
  return std::wstring(count, L'1');
}
std::wstring OneAndZeros(std::size_t count) {
  return L"1" + std::wstring(count, L'0');
}

TEST(UInt32ToString, WritesZeroAsOneDigit) {
  for (std::uint32_t base = 2; base <= 36; ++base) {
    EXPECT_EQ(Exactly(UInt32ToString(0, base)), L"0");
  }
}

TEST(UInt32ToString, WritesUpperCaseDigitsWithoutPrefixOrPadding) {
  EXPECT_EQ(Exactly(UInt32ToString(255, 16)), L"FF");
  EXPECT_EQ(Exactly(UInt32ToString(5, 2)), L"101");
  EXPECT_EQ(Exactly(UInt32ToString(8, 8)), L"10");
  EXPECT_EQ(Exactly(UInt32ToString(35, 36)), L"Z");
  EXPECT_EQ(Exactly(UInt32ToString(4294967295U, 10)), L"4294967295");
  EXPECT_EQ(Exactly(UInt32ToString(0xDEADBEEF, 16)), L"DEADBEEF");
}

TEST(UInt64ToString, HasAllThirtySixDigits) {
  const std::wstring digits = L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  for (std::uint32_t digit = 0; digit < 36; ++digit) {
    EXPECT_EQ(Exactly(UInt64ToString(digit, 36)), std::wstring(1, digits[digit]));
  }
}

TEST(UInt64ToString, TheLargestValueFitsInEveryBase) {
  EXPECT_EQ(Exactly(UInt64ToString(kMost<std::uint64_t>, 2)), Ones(64));
  EXPECT_EQ(Exactly(UInt64ToString(kMost<std::uint64_t>, 10)), L"18446744073709551615");
  EXPECT_EQ(Exactly(UInt64ToString(kMost<std::uint64_t>, 16)), L"FFFFFFFFFFFFFFFF");
  EXPECT_EQ(Exactly(UInt64ToString(kMost<std::uint64_t>, 36)), L"3W5E11264SGSF");
}

TEST(UInt64ToString, IsReadBackByTheCLibraryInEveryBase) {
  for (std::uint32_t base = 2; base <= 36; ++base) {
    for (std::uint64_t value = 1; value != 0; value = value < (1ULL << 60) ? value * 7 + 3 : 0) {
      const std::wstring text = Exactly(UInt64ToString(value, base));
      EXPECT_EQ(std::wcstoull(text.c_str(), nullptr, static_cast<int>(base)), value);
      EXPECT_NE(text[0], L'0');
    }
  }
}

TEST(UIntToString, IsThe32BitForm) {
  EXPECT_EQ(Exactly(UIntToString(kMost<std::uint32_t>, 2)), Ones(32));
  EXPECT_EQ(Exactly(UIntToString(4294967295U, 10)), L"4294967295");
}

TEST(UnsignedToString, TheLargestValueOfEachWidthFitsInBase2) {
  EXPECT_EQ(Exactly(UInt32ToString(kMost<std::uint32_t>, 2)), Ones(32));
  EXPECT_EQ(Exactly(UInt16ToString(kMost<std::uint16_t>, 2)), Ones(16));
  EXPECT_EQ(Exactly(UInt8ToString(kMost<std::uint8_t>, 2)), Ones(8));
}

TEST(UnsignedToString, TheLargestValueOfEachWidthHasNoSign) {
  EXPECT_EQ(Exactly(UInt16ToString(kMost<std::uint16_t>, 10)), L"65535");
  EXPECT_EQ(Exactly(UInt8ToString(kMost<std::uint8_t>, 10)), L"255");
}

TEST(SignedToString, PositiveValuesAreWrittenAsUnsignedOnes) {
  EXPECT_EQ(Exactly(Int64ToString(kMost<std::int64_t>, 10)), L"9223372036854775807");
  EXPECT_EQ(Exactly(Int32ToString(kMost<std::int32_t>, 16)), L"7FFFFFFF");
  EXPECT_EQ(Exactly(IntToString(42, 10)), L"42");
  EXPECT_EQ(Exactly(Int16ToString(32767, 10)), L"32767");
  EXPECT_EQ(Exactly(Int8ToString(127, 2)), Ones(7));
  EXPECT_EQ(Exactly(Int32ToString(0, 10)), L"0");
}

TEST(SignedToString, ANegativeValueHasASignInBase10) {
  EXPECT_EQ(Exactly(Int64ToString(-5, 10)), L"-5");
  EXPECT_EQ(Exactly(Int32ToString(-5, 10)), L"-5");
  EXPECT_EQ(Exactly(IntToString(-5, 10)), L"-5");
  EXPECT_EQ(Exactly(Int16ToString(-5, 10)), L"-5");
  EXPECT_EQ(Exactly(Int8ToString(-5, 10)), L"-5");
}

TEST(SignedToString, ANegativeValueIsTheBitPatternOfItsWidthInOtherBases) {
  EXPECT_EQ(Exactly(Int64ToString(-1, 16)), L"FFFFFFFFFFFFFFFF");
  EXPECT_EQ(Exactly(Int32ToString(-1, 16)), L"FFFFFFFF");
  EXPECT_EQ(Exactly(IntToString(-1, 16)), L"FFFFFFFF");
  EXPECT_EQ(Exactly(Int16ToString(-1, 16)), L"FFFF");
  EXPECT_EQ(Exactly(Int8ToString(-1, 16)), L"FF");
  EXPECT_EQ(Exactly(Int8ToString(-1, 2)), Ones(8));
  EXPECT_EQ(Exactly(Int8ToString(-1, 8)), L"377");
  EXPECT_EQ(Exactly(Int8ToString(-1, 9)), L"313");
  EXPECT_EQ(Exactly(Int8ToString(-1, 11)), L"212");
}

TEST(SignedToString, TheSmallestValueOfEachWidthIsRightInBase10) {
  EXPECT_EQ(Exactly(Int64ToString(kLeast<std::int64_t>, 10)), L"-9223372036854775808");
  EXPECT_EQ(Exactly(Int32ToString(kLeast<std::int32_t>, 10)), L"-2147483648");
  EXPECT_EQ(Exactly(IntToString(kLeast<std::int32_t>, 10)), L"-2147483648");
  EXPECT_EQ(Exactly(Int16ToString(kLeast<std::int16_t>, 10)), L"-32768");
  EXPECT_EQ(Exactly(Int8ToString(kLeast<std::int8_t>, 10)), L"-128");
}

TEST(SignedToString, TheSmallestValueOfEachWidthIsAOneAndZerosInBase2) {
  EXPECT_EQ(Exactly(Int64ToString(kLeast<std::int64_t>, 2)), OneAndZeros(63));
  EXPECT_EQ(Exactly(Int32ToString(kLeast<std::int32_t>, 2)), OneAndZeros(31));
  EXPECT_EQ(Exactly(Int16ToString(kLeast<std::int16_t>, 2)), OneAndZeros(15));
  EXPECT_EQ(Exactly(Int8ToString(kLeast<std::int8_t>, 2)), OneAndZeros(7));
}

TEST(IntegerToString, ABaseOutside2To36ThrowsUnableToConvert) {
  for (const std::uint32_t base : {0U, 1U, 37U, 255U, 256U, 0x80000000U, 0xFFFFFFFFU}) {
    for (const int value : {0, 1, 100}) {
      const auto small = static_cast<std::int8_t>(value);
      EXPECT_THROW(UInt64ToString(static_cast<std::uint64_t>(value), base),
                   exception::UnableToConvert);
      EXPECT_THROW(UInt32ToString(static_cast<std::uint32_t>(value), base),
                   exception::UnableToConvert);
      EXPECT_THROW(UIntToString(static_cast<std::uint32_t>(value), base),
                   exception::UnableToConvert);
      EXPECT_THROW(UInt16ToString(static_cast<std::uint16_t>(value), base),
                   exception::UnableToConvert);
      EXPECT_THROW(UInt8ToString(static_cast<std::uint8_t>(value), base),
                   exception::UnableToConvert);
      EXPECT_THROW(Int64ToString(-value, base), exception::UnableToConvert);
      EXPECT_THROW(Int32ToString(-value, base), exception::UnableToConvert);
      EXPECT_THROW(IntToString(-value, base), exception::UnableToConvert);
      EXPECT_THROW(Int16ToString(small, base), exception::UnableToConvert);
      EXPECT_THROW(Int8ToString(small, base), exception::UnableToConvert);
    }
  }
}

TEST(IntegerToString, ThrowsWithItsMessageAndCode) {
  for (const std::uint32_t base : {0U, 37U}) {
    try {
      UInt32ToString(1, base);
      FAIL();
    } catch (const exception::UnableToConvert& e) {
      EXPECT_STREQ(e.what(), "Unable to convert.");
      EXPECT_EQ(e.getErrorCode(), -1967361996);
      EXPECT_STREQ(e.file(), "kit/osdep/IntegerToString.cpp");
    }
  }
}

}  // namespace
