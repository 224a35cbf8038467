#include "qvini/numbers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <thread>

#include "qvini/qvini.h"
#include "tests/ScopedLocale.h"
#include "tests/TestLocale.h"

namespace {

using qv::tests::UseTestLocales;

constexpr int kUntouched = 4711;

struct Converted {
  int result;
  unsigned magnitude;
  int isNegative;
  bool operator==(const Converted& other) const {
    return result == other.result && magnitude == other.magnitude && isNegative == other.isNegative;
  }
};

Converted Convert(const char* text) {
  Converted converted{0, kUntouched, kUntouched};
  converted.result = ConvertNumStrToUint(text, &converted.magnitude, &converted.isNegative);
  return converted;
}

constexpr Converted kRefused{0, kUntouched, kUntouched};

int ToInt(const char* text) {
  int value = kUntouched;
  EXPECT_EQ(qvini_StrToInt(text, &value), kIniFound) << text;
  return value;
}

void ExpectNoInt(const char* text) {
  int value = kUntouched;
  EXPECT_EQ(qvini_StrToInt(text, &value), -5021) << text;
  EXPECT_EQ(value, kUntouched);
}

unsigned ToUInt(const char* text) {
  unsigned value = kUntouched;
  EXPECT_EQ(qvini_StrToUInt(text, &value), kIniFound) << text;
  return value;
}

void ExpectNoUInt(const char* text) {
  unsigned value = kUntouched;
  EXPECT_EQ(qvini_StrToUInt(text, &value), -5022) << text;
  EXPECT_EQ(value, static_cast<unsigned>(kUntouched));
}

double ToDouble(const char* text) {
  double value = kUntouched;
  EXPECT_EQ(qvini_StrToDouble(text, &value), kIniFound) << text;
  return value;
}

void ExpectNoDouble(const char* text) {
  double value = kUntouched;
  EXPECT_EQ(qvini_StrToDouble(text, &value), -5023) << text;
  EXPECT_EQ(value, kUntouched);
}

std::string FromDouble(double value) {
  char text[kDoubleTextSize];
  EXPECT_EQ(qvini_DoubleToStr(value, text), kIniFound);
  return text;
}

TEST(ConvertNumStrToUint, TakesDigitsWithWhiteSpaceAroundAndOneSign) {
  EXPECT_EQ(Convert("0"), (Converted{1, 0, 0}));
  EXPECT_EQ(Convert("17"), (Converted{1, 17, 0}));
  EXPECT_EQ(Convert("+17"), (Converted{1, 17, 0}));
  EXPECT_EQ(Convert("-17"), (Converted{1, 17, 1}));
  EXPECT_EQ(Convert(" \t\n\v\f\r-17 \t\n\v\f\r"), (Converted{1, 17, 1}));
  EXPECT_EQ(Convert("-0"), (Converted{1, 0, 1}));
  EXPECT_EQ(Convert("000000000000000000000000000000017"), (Converted{1, 17, 0}));
}

TEST(ConvertNumStrToUint, EndsAtTheLargestUnsignedNumber) {
  EXPECT_EQ(Convert("4294967295"), (Converted{1, 4294967295U, 0}));
  EXPECT_EQ(Convert("-4294967295"), (Converted{1, 4294967295U, 1}));
  EXPECT_EQ(Convert("4294967296"), kRefused);
  EXPECT_EQ(Convert("4294967300"), kRefused);
  EXPECT_EQ(Convert("5000000000"), kRefused);
  EXPECT_EQ(Convert("42949672950"), kRefused);
  EXPECT_EQ(Convert("18446744073709551616"), kRefused);
}

TEST(ConvertNumStrToUint, RefusesWhatIsNoDecimalNumber) {
  for (const char* text : {"", " ", "+", "-", "--1", "++1", "+-1", "- 1", "+ 1", "1 2", "1-",
                           "0x10", "1e3", "1.", "a", "1a", "\xd9\xa1", "1_000"})
    EXPECT_EQ(Convert(text), kRefused) << text;
  EXPECT_EQ(Convert(nullptr), kRefused);
}

TEST(StrToInt, TakesEveryIntAndNothingBeyond) {
  EXPECT_EQ(ToInt("2147483647"), INT_MAX);
  EXPECT_EQ(ToInt("-2147483648"), INT_MIN);
  EXPECT_EQ(ToInt("-2147483647"), -INT_MAX);
  EXPECT_EQ(ToInt("-0"), 0);
  EXPECT_EQ(ToInt("-1"), -1);
  EXPECT_EQ(ToInt(" +12 "), 12);
  ExpectNoInt("2147483648");
  ExpectNoInt("-2147483649");
  ExpectNoInt("4294967295");
  ExpectNoInt("-4294967295");
  ExpectNoInt("4294967296");
  ExpectNoInt("abc");
  ExpectNoInt("");
}

TEST(StrToUInt, TakesEveryUnsignedNumberAndNoMinusSign) {
  EXPECT_EQ(ToUInt("0"), 0U);
  EXPECT_EQ(ToUInt("+7"), 7U);
  EXPECT_EQ(ToUInt("4294967295"), UINT_MAX);
  ExpectNoUInt("4294967296");
  ExpectNoUInt("-5");
  ExpectNoUInt("-0");
  ExpectNoUInt("");
}

TEST(StrToDouble, TakesInfinityInAnyCase) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const char* text : {"+Inf", "Inf", "inf", "INF", "+iNf", "infinity", "+INFINITY"})
    EXPECT_EQ(ToDouble(text), kInfinity) << text;
  for (const char* text : {"-Inf", "-inf", "-INF", "-infinity"})
    EXPECT_EQ(ToDouble(text), -kInfinity) << text;
}

TEST(StrToDouble, TakesWhatTheCLibraryTakesWhole) {
  EXPECT_EQ(ToDouble("1.5"), 1.5);
  EXPECT_EQ(ToDouble("-1.5e3"), -1500.0);
  EXPECT_EQ(ToDouble("  .5"), 0.5);
  EXPECT_EQ(ToDouble("0x1.8p1"), 3.0);
  EXPECT_EQ(ToDouble("1.7976931348623157e308"), std::numeric_limits<double>::max());
  EXPECT_EQ(ToDouble("2.2250738585072014e-308"), std::numeric_limits<double>::min());
  EXPECT_TRUE(std::isnan(ToDouble("nan")));
}

TEST(StrToDouble, RefusesWhatIsLeftOverAndWhatIsOutOfRange) {
  for (const char* text : {"", " ", "1.5x", "1.5 ", "1,5", "Inf ", "infx", "--1", "1e400", "-1e400",
                           "1e-400", "4e-324", "True"})
    ExpectNoDouble(text);
  ExpectNoDouble(nullptr);
}

TEST(StrToDouble, LeavesErrnoAlone) {
  errno = ERANGE;
  EXPECT_EQ(ToDouble("1.5"), 1.5);
  EXPECT_EQ(errno, ERANGE);
  errno = 0;
  ExpectNoDouble("1e400");
  EXPECT_EQ(errno, 0);
}

TEST(DoubleToStr, WritesFifteenDigits) {
  EXPECT_EQ(FromDouble(0.0), "0.00000000000000e+00");
  EXPECT_EQ(FromDouble(1.0 / 3.0), "3.33333333333333e-01");
  EXPECT_EQ(FromDouble(-1e300), "-1.00000000000000e+300");
  EXPECT_EQ(FromDouble(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(FromDouble(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(Doubles, HaveAPointWhateverTheLocale) {
  UseTestLocales();
  const ScopedLocale german("de_DE.ISO-8859-1");
  char text[16];
  std::snprintf(text, sizeof(text), "%.1f", 1.5);
  ASSERT_STREQ(text, "1,5");

  EXPECT_EQ(FromDouble(1.5), "1.50000000000000e+00");
  EXPECT_EQ(ToDouble("1.5"), 1.5);
  ExpectNoDouble("1,5");

  std::snprintf(text, sizeof(text), "%.1f", 1.5);
  EXPECT_STREQ(text, "1,5") << "the thread has lost its locale";
}

TEST(Doubles, HaveAPointInEveryThreadWhileLocalesChange) {
  UseTestLocales();
  const auto work = [] {
    for (int i = 0; i < 2000; ++i) {
      EXPECT_EQ(FromDouble(1.5), "1.50000000000000e+00");
      EXPECT_EQ(ToDouble("1.5"), 1.5);
    }
  };
  std::thread first(work);
  std::thread second(work);
  for (int i = 0; i < 200; ++i)
    const ScopedLocale german("de_DE.ISO-8859-1");
  first.join();
  second.join();
}

TEST(StrToBoolean, TakesTwoWordsInAnyCaseWithWhiteSpaceAround) {
  int value = kUntouched;
  EXPECT_EQ(qvini_StrToBoolean(" tRUE\t", &value), kIniFound);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(qvini_StrToBoolean("False", &value), kIniFound);
  EXPECT_EQ(value, 0);
}

TEST(StrToBoolean, RefusesAllOtherWords) {
  for (const char* text : {"", "1", "0", "yes", "Tru", "Truee", "True True"}) {
    int value = kUntouched;
    EXPECT_EQ(qvini_StrToBoolean(text, &value), -5024) << text;
    EXPECT_EQ(value, kUntouched);
  }
}

}  // namespace
