// Tests of the names of logs on disk: stamps, month directories and their parsers.
#include "logstore/log_names.h"

#include <gtest/gtest.h>

#include "testing/test_times.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

using ::sarvik::testing::kBerlin;
using ::sarvik::testing::kMarch4th;
using ::sarvik::testing::kTokyo;
using ::sarvik::testing::kUtc;
using ::sarvik::testing::ScopedTimeZone;

constexpr time_t kJune30th = 1498865400;     // 2017-06-30 23:30:00 UTC
constexpr time_t kYear10000 = 253402300800;  // 10000-01-01 00:00:00 UTC

struct ZoneCase {
  const char* zone;
  time_t when;
  const char* stamp;
  const char* month_dir;
};

TEST(LogNames, StampAndMonthDirAreLocalTime) {
  const ZoneCase cases[] = {
      {kUtc, kMarch4th, "20170304123456", "201703"},
      {kBerlin, kMarch4th, "20170304133456", "201703"},  // winter: one hour ahead
      {kTokyo, kMarch4th, "20170304213456", "201703"},
      {kUtc, kJune30th, "20170630233000", "201706"},
      {kBerlin, kJune30th, "20170701013000", "201707"},  // summer time: two hours ahead
      {kTokyo, kJune30th, "20170701083000", "201707"},
      {kUtc, 0, "19700101000000", "197001"},
      {kUtc, kYear10000, "100000101000000", "1000001"},  // the year has no fixed width
  };
  for (const ZoneCase& c : cases) {
    ScopedTimeZone zone(c.zone);
    EXPECT_EQ(stamp_for(c.when), c.stamp) << c.zone << " " << c.when;
    EXPECT_EQ(month_dir_for(c.when), c.month_dir) << c.zone << " " << c.when;
  }
}

struct DigitsCase {
  const char* name;
  const char* digits;
};

TEST(LogNames, StampDigitsFindsTheFirstRunOfAnAcceptedLength) {
  const DigitsCase cases[] = {
      {"system_20170304123456.csv", "20170304123456"},
      {"system_201703.csv", "201703"},
      {"201703", "201703"},
      {"system_201703041234567890.csv", "201703041234567890"},  // longer than 14: all of it
      {"system_2017.csv", ""},                                  // four digits are no date
      {"system_2017030412345.csv", ""},                         // thirteen
      {"system_2017031.csv", ""},                               // seven
      {"20170", ""},
      {"system_12_20170304123456.csv", ""},  // a short run is not skipped for a later one
      {"system_x20170304123456.csv", "20170304123456"},  // non-digits before the run are skipped
      {"access_20170304123456.csv", "20170304123456"},   // another prefix: searched from the start
      {"x1_20170304123456.csv", ""},                     // ... where an earlier short run stops it
      {"system_", ""},
      {"system_.csv", ""},
      {"system", ""},
      {"", ""},
      {"backup", ""},
  };
  for (const DigitsCase& c : cases) {
    EXPECT_EQ(stamp_digits(c.name, "system_"), c.digits) << c.name;
  }
}

TEST(LogNames, StampDigitsLooksBehindThePrefixOnly) {
  EXPECT_EQ(stamp_digits("log1_201703.csv", "log1_"), "201703");
  EXPECT_EQ(stamp_digits("log1_201703.csv", ""), "");  // the run "1" comes first
}

struct ParseCase {
  const char* digits;
  int year, mon, mday, hour, min, sec;
};

TEST(LogNames, ParseStampReadsPlainDecimalFields) {
  const ParseCase cases[] = {
      {"20170304123456", 117, 2, 4, 12, 34, 56},
      {"201703", 117, 2, 1, 0, 0, 0},  // six digits: the first of the month at midnight
      {"201703041234567890", 117, 2, 4, 12, 34, 56},  // digits beyond the fourteenth ignored
      {"20171399887766", 117, 12, 99, 88, 77, 66},    // no validation
      {"000000", -1900, -1, 1, 0, 0, 0},
  };
  for (const ParseCase& c : cases) {
    struct tm t = parse_stamp(c.digits);
    EXPECT_EQ(t.tm_year, c.year) << c.digits;
    EXPECT_EQ(t.tm_mon, c.mon) << c.digits;
    EXPECT_EQ(t.tm_mday, c.mday) << c.digits;
    EXPECT_EQ(t.tm_hour, c.hour) << c.digits;
    EXPECT_EQ(t.tm_min, c.min) << c.digits;
    EXPECT_EQ(t.tm_sec, c.sec) << c.digits;
    EXPECT_EQ(t.tm_wday, 0) << c.digits;
    EXPECT_EQ(t.tm_yday, 0) << c.digits;
    EXPECT_EQ(t.tm_isdst, -1) << c.digits;
  }
}

// With the daylight-saving flag left unknown, mktime finds summer and winter time by itself.
TEST(LogNames, ParsedStampGoesBackToItsTimeInSummerAndWinter) {
  for (const char* zone_text : {kBerlin, kUtc, kTokyo}) {
    ScopedTimeZone zone(zone_text);
    for (time_t when : {kMarch4th, kJune30th}) {
      struct tm fields = parse_stamp(stamp_for(when));
      EXPECT_EQ(mktime(&fields), when) << zone_text << " " << when;
    }
  }
}

}  // namespace
}  // namespace sarvik
