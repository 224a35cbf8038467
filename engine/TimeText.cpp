#include "engine/TimeText.h"

#include <cstdint>

namespace qv::traceengine {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

struct Date {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor) noexcept {
  return value / divisor - (value % divisor < 0 ? 1 : 0);
}

std::int64_t FloorRemainder(std::int64_t value, std::int64_t divisor) noexcept {
  const std::int64_t remainder = value % divisor;
  return remainder < 0 ? remainder + divisor : remainder;
}

/// The date of a day counted from 1904-01-01. Years are taken to begin in March, which puts the day
/// that some of them lack at their end.
Date DateOf(std::int64_t daysSince1904) noexcept {
  constexpr std::int64_t kDaysFromMarchOfYear0 = 695361;  // to 1904-01-01
  constexpr std::int64_t kDaysPer400Years = 146097;
  const std::int64_t days = daysSince1904 + kDaysFromMarchOfYear0;
  const std::int64_t era = FloorDivide(days, kDaysPer400Years);
  const auto dayOfEra = static_cast<unsigned>(FloorRemainder(days, kDaysPer400Years));
  // Every fourth year has a day more, but not every hundredth, but the four hundredth.
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  // From March on, five months in a row have 153 days.
  const unsigned monthFromMarch = (5 * dayOfYear + 2) / 153;
  const unsigned month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
  const std::int64_t year = era * 400 + std::int64_t{yearOfEra} + (month <= 2 ? 1 : 0);
  return {year, month, dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
}

/// The last whole microsecond whose own fraction, cut to 2^-64 seconds, does not exceed fraction.
unsigned MicrosecondsOf(std::uint64_t fraction) noexcept {
  constexpr std::uint64_t kMicroseconds = 1000000;
  const std::uint64_t low = (fraction & 0xFFFFFFFFU) * kMicroseconds + (kMicroseconds - 1);
  const std::uint64_t high = (fraction >> 32U) * kMicroseconds;
  return static_cast<unsigned>((high + (low >> 32U)) >> 32U);
}

/// Writes value with at least so many digits.
char* WriteNumber(std::uint64_t value, int digits, char* out) noexcept {
  char reversed[20];
  int count = 0;
  for (; value != 0 || count < digits; value /= 10)
    reversed[count++] = static_cast<char>('0' + value % 10);
  while (count > 0)
    *out++ = reversed[--count];
  return out;
}

char* WriteNumber(std::uint64_t value, int digits, char* out, char end) noexcept {
  out = WriteNumber(value, digits, out);
  *out++ = end;
  return out;
}

char* WriteYear(std::int64_t year, char* out) noexcept {
  if (year < 0) *out++ = '-';
  if (year > 9999) *out++ = '+';
  return WriteNumber(static_cast<std::uint64_t>(year < 0 ? -year : year), 4, out, '-');
}

}  // namespace

char* WriteTimeText(const kit::AbsTime& time, char* out) noexcept {
  if (time == kit::AbsTime()) {
    *out++ = '-';
    return out;
  }
  const std::int64_t day = FloorDivide(time.seconds(), kSecondsPerDay);
  const auto second = static_cast<std::uint64_t>(FloorRemainder(time.seconds(), kSecondsPerDay));
  const Date date = DateOf(day);
  out = WriteYear(date.year, out);
  out = WriteNumber(date.month, 2, out, '-');
  out = WriteNumber(date.day, 2, out, 'T');
  out = WriteNumber(second / 3600, 2, out, ':');
  out = WriteNumber(second / 60 % 60, 2, out, ':');
  out = WriteNumber(second % 60, 2, out, '.');
  return WriteNumber(MicrosecondsOf(time.fraction()), 6, out, 'Z');
}

}  // namespace qv::traceengine
