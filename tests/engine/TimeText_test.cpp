#include "engine/TimeText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "kit/AbsTime.h"

namespace qv::traceengine {
namespace {

std::string Text(const kit::AbsTime& time) {
  char text[kLongestTimeText];
  return {text, WriteTimeText(time, text)};
}

struct Row {
  std::int64_t seconds;
  const char* text;
};

// Python: (datetime.datetime(...) - datetime.datetime(1904, 1, 1)), days * 86400 + seconds
TEST(TimeText, AgreesWithAnotherCalendar) {
  const Row rows[] = {
      {0, "1904-01-01T00:00:00.000000Z"},
      {2082844800, "1970-01-01T00:00:00.000000Z"},
      {3878075045, "2026-11-21T03:04:05.000000Z"},
      {3034713599, "2000-02-29T23:59:59.000000Z"},
      {3855167999, "2026-02-28T23:59:59.000000Z"},
      {3855168000, "2026-03-01T00:00:00.000000Z"},
      {3865708799, "2026-06-30T23:59:59.000000Z"},
      {3865708800, "2026-07-01T00:00:00.000000Z"},
      {3878927999, "2026-11-30T23:59:59.000000Z"},
      {3878928000, "2026-12-01T00:00:00.000000Z"},
      {3881606399, "2026-12-31T23:59:59.000000Z"},
      {3881606400, "2027-01-01T00:00:00.000000Z"},
      {4230328448, "2038-01-19T03:14:08.000000Z"},
      {3818448000, "2024-12-31T00:00:00.000000Z"},
      {6190344000, "2100-02-28T12:00:00.000000Z"},
      {6190387200, "2100-03-01T00:00:00.000000Z"},
      {255485145599, "9999-12-31T23:59:59.000000Z"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Text({row.seconds, 0}), row.text);
}

TEST(TimeText, GoesBackBeforeItsEpoch) {
  const Row rows[] = {
      {-1, "1903-12-31T23:59:59.000000Z"},           {-121046400, "1900-03-01T00:00:00.000000Z"},
      {-121046401, "1900-02-28T23:59:59.000000Z"},   {-9588153600, "1600-02-29T00:00:00.000000Z"},
      {-60052752000, "0001-01-01T00:00:00.000000Z"}, {-60079190400, "0000-03-01T00:00:00.000000Z"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Text({row.seconds, 0}), row.text);
}

// Years that Python's dates do not reach were computed in its integers, by whole cycles of 400
// years.
TEST(TimeText, SignsYearsThatTakeNoFourDigits) {
  const Row rows[] = {
      {-60110812800, "-0001-03-01T00:00:00.000000Z"},
      {-60205420800, "-0004-03-01T00:00:00.000000Z"},
      {-217863993600, "-5000-03-01T00:00:00.000000Z"},
      {255490329600, "+10000-03-01T00:00:00.000000Z"},
      {INT64_MAX, "+292277026530-12-04T15:30:07.000000Z"},
      {-INT64_MAX, "-292277022723-01-25T08:29:53.000000Z"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Text({row.seconds, 0}), row.text);
}

TEST(TimeText, HasADashForNoTimeAtAll) {
  EXPECT_EQ(Text(kit::AbsTime()), "-");
  EXPECT_NE(Text({INT64_MIN, 1}), "-");
}

// Python: (microseconds << 64) // 10**6
TEST(TimeText, ReadsAStampOfWholeMicrosecondsAsThose) {
  EXPECT_EQ(Text({0, 0x10C6F7A0B5EDU}), "1904-01-01T00:00:00.000001Z");
  EXPECT_EQ(Text({0, 0x7570C564F97EU}), "1904-01-01T00:00:00.000007Z");
  EXPECT_EQ(Text({0, 0x1F9ACFFA7EB6BF44U}), "1904-01-01T00:00:00.123456Z");
  EXPECT_EQ(Text({0, 0x8000000000000000U}), "1904-01-01T00:00:00.500000Z");
  EXPECT_EQ(Text({0, 0xFFFFEF39085F4A12U}), "1904-01-01T00:00:00.999999Z");
}

TEST(TimeText, CutsOffPartsOfAMicrosecond) {
  EXPECT_EQ(Text({0, 0x10C6F7A0B5ECU}), "1904-01-01T00:00:00.000000Z");
  EXPECT_EQ(Text({0, 0x1F9ACFFA7EB6BF43U}), "1904-01-01T00:00:00.123455Z");
  EXPECT_EQ(Text({0, 0xFFFFFFFFFFFFFFFFU}), "1904-01-01T00:00:00.999999Z");
  EXPECT_EQ(Text({-1, 0xFFFFFFFFFFFFFFFFU}), "1903-12-31T23:59:59.999999Z");
}

}  // namespace
}  // namespace qv::traceengine
