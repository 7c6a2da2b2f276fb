// Tests of the time bounds: every form, relative ones across daylight-saving changes, and the
// comparison of line times.
#include "query/time_range.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/time_zone.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::kBerlin;
using ::sarvik::testing::kTokyo;
using ::sarvik::testing::kUtc;
using ::sarvik::testing::ScopedTimeZone;

// 2024-03-04 12:34:56 UTC, a Monday.
constexpr time_t kNow = 1709555696;

std::string bound(const std::string& text, time_t now = kNow) {
  CivilTime time;
  std::string error;
  if (!parse_time_bound(text, now, &time, &error)) return "error: " + error;
  return record_time_text(time);
}

TEST(TimeBound, ReadsEveryAbsoluteForm) {
  ScopedTimeZone zone(kUtc);
  EXPECT_EQ(bound("2024-03-04"), "2024/03/04 00:00:00");
  EXPECT_EQ(bound("2024-03-04 09:15"), "2024/03/04 09:15:00");
  EXPECT_EQ(bound("2024-03-04 09:15:07"), "2024/03/04 09:15:07");
  EXPECT_EQ(bound("2024/03/04 09:15:07"), "2024/03/04 09:15:07");
  EXPECT_EQ(bound("2024-02-29"), "2024/02/29 00:00:00");
}

TEST(TimeBound, RefusesWhatIsNoTime) {
  ScopedTimeZone zone(kUtc);
  for (const char* text :
       {"", "2024-3-4", "2024-03-04T09:15", "2024-03-04 9:15", "2024-13-01", "2023-02-29",
        "2024-03-04 24:00", "2024-03-04 23:60", "2024/03/04", "2024/03/04 09:15", "0999-01-01",
        "tomorrow", "-5", "-5s", "-m", "-1.5h", "5m", "--5m", "-99999999999d"}) {
    EXPECT_EQ(bound(text).rfind("error: ", 0), 0u) << text << " gave " << bound(text);
  }
}

TEST(TimeBound, RelativeBoundsCountSecondsBackFromNowInLocalTime) {
  {
    ScopedTimeZone zone(kUtc);
    EXPECT_EQ(bound("-30m"), "2024/03/04 12:04:56");
    EXPECT_EQ(bound("-2h"), "2024/03/04 10:34:56");
    EXPECT_EQ(bound("-7d"), "2024/02/26 12:34:56");
    EXPECT_EQ(bound("-0m"), "2024/03/04 12:34:56");
    EXPECT_EQ(bound("today"), "2024/03/04 00:00:00");
    EXPECT_EQ(bound("yesterday"), "2024/03/03 00:00:00");
  }
  ScopedTimeZone zone(kTokyo);  // nine hours ahead
  EXPECT_EQ(bound("-30m"), "2024/03/04 21:04:56");
  EXPECT_EQ(bound("today"), "2024/03/04 00:00:00");
  EXPECT_EQ(bound("yesterday"), "2024/03/03 00:00:00");
}

TEST(TimeBound, RelativeBoundsAcrossTheSpringChange) {
  ScopedTimeZone zone(kBerlin);
  // 2024-03-31 01:30 UTC is 03:30 CEST; the clocks went from 02:00 to 03:00 an hour before.
  const time_t after_change = 1711848600;
  EXPECT_EQ(bound("-2h", after_change), "2024/03/31 00:30:00");  // 23:30 UTC, still CET
  EXPECT_EQ(bound("-30m", after_change), "2024/03/31 03:00:00");
  EXPECT_EQ(bound("-1d", after_change), "2024/03/30 02:30:00");  // 24 hours, not a calendar day
  EXPECT_EQ(bound("today", after_change), "2024/03/31 00:00:00");
  EXPECT_EQ(bound("yesterday", after_change), "2024/03/30 00:00:00");
}

TEST(TimeBound, RelativeBoundsAcrossTheAutumnChange) {
  ScopedTimeZone zone(kBerlin);
  // 2024-10-27 01:30 UTC is 02:30 CET, in the second pass of the hour 02:00 to 03:00.
  const time_t second_pass = 1729992600;
  EXPECT_EQ(bound("-1h", second_pass), "2024/10/27 02:30:00");  // the first pass, CEST
  EXPECT_EQ(bound("-2h", second_pass), "2024/10/27 01:30:00");
  EXPECT_EQ(bound("-1d", second_pass), "2024/10/26 03:30:00");
  EXPECT_EQ(bound("today", second_pass), "2024/10/27 00:00:00");
  // A wall-clock time inside the repeated hour is taken as written.
  EXPECT_EQ(bound("2024-10-27 02:30", second_pass), "2024/10/27 02:30:00");
  // And one inside the skipped hour of spring, which no line can have, all the same.
  EXPECT_EQ(bound("2024-03-31 02:30", second_pass), "2024/03/31 02:30:00");
}

CivilTime at(const char* text) {
  CivilTime time;
  EXPECT_TRUE(read_record_time(text, &time)) << text;
  return time;
}

TEST(TimeRange, BoundsAreInclusiveAndLinesNeedATime) {
  TimeRange range(at("2024/03/04 09:00:00"), at("2024/03/04 17:00:00"));
  EXPECT_TRUE(range.bounded());
  EXPECT_TRUE(range.contains_line("2024/03/04 09:00:00,alice"));
  EXPECT_TRUE(range.contains_line("2024/03/04 17:00:00,alice"));
  EXPECT_TRUE(range.contains_line("2024/03/04 12:00:00"));
  EXPECT_FALSE(range.contains_line("2024/03/04 08:59:59,alice"));
  EXPECT_FALSE(range.contains_line("2024/03/04 17:00:01,alice"));
  EXPECT_FALSE(range.contains_line("2024/03/05 00:00:00,alice"));
  EXPECT_FALSE(range.contains_line("continued text of a record"));
  EXPECT_FALSE(range.contains_line("2024/03/04 12:00"));

  TimeRange open_end(at("2024/03/04 09:00:00"), std::nullopt);
  EXPECT_TRUE(open_end.contains_line("9999/12/31 23:59:59"));
  EXPECT_FALSE(open_end.contains_line("2024/03/04 08:59:59"));
  TimeRange open_start(std::nullopt, at("2024/03/04 09:00:00"));
  EXPECT_TRUE(open_start.contains_line("1970/01/01 00:00:00"));
  EXPECT_FALSE(open_start.contains_line("2024/03/04 09:00:01"));

  TimeRange everything;
  EXPECT_FALSE(everything.bounded());
  EXPECT_TRUE(everything.contains_line("no time at all"));
  EXPECT_LT(everything.first_second(), civil_seconds(at("0001/01/01 00:00:00")));
  EXPECT_GT(everything.last_second(), civil_seconds(at("9999/12/31 23:59:59")));
}

}  // namespace
}  // namespace sarvik::query
