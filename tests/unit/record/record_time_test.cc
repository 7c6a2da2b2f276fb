// Tests of the record time read back from a line, and of the calendar reckoning on it.
#include "record/record_time.h"

#include <gtest/gtest.h>

#include <string>

namespace sarvik {
namespace {

struct TimeCase {
  const char* text;
  bool valid;
  CivilTime time;
};

TEST(RecordTime, ReadsOnlyTheFixedFormWithFieldsInRange) {
  const TimeCase cases[] = {
      {"2017/03/04 12:34:56", true, {2017, 3, 4, 12, 34, 56}},
      {"2017/03/04 12:34:56,alice,pc1", true, {2017, 3, 4, 12, 34, 56}},  // the rest is ignored
      {"2024/02/29 23:59:59", true, {2024, 2, 29, 23, 59, 59}},           // leap day
      {"0001/01/01 00:00:00", true, {1, 1, 1, 0, 0, 0}},
      {"2023/02/29 00:00:00", false, {}},  // no leap year
      {"2017/13/04 12:34:56", false, {}},
      {"2017/00/04 12:34:56", false, {}},
      {"2017/04/31 12:34:56", false, {}},
      {"2017/03/04 24:00:00", false, {}},
      {"2017/03/04 12:60:00", false, {}},
      {"2017/03/04 12:34:60", false, {}},
      {"2017-03-04 12:34:56", false, {}},
      {"2017/03/04T12:34:56", false, {}},
      {"2017/03/04 12:34:5", false, {}},  // too short
      {"201a/03/04 12:34:56", false, {}},
      {"10000/01/01 00:00:00", false, {}},  // a year of five digits has no fixed form
      {" 2017/03/04 12:34:56", false, {}},
      {"", false, {}},
  };
  for (const TimeCase& c : cases) {
    CivilTime time{9, 9, 9, 9, 9, 9};
    EXPECT_EQ(read_record_time(c.text, &time), c.valid) << c.text;
    const CivilTime& expected = c.valid ? c.time : CivilTime{9, 9, 9, 9, 9, 9};
    EXPECT_EQ(time.year, expected.year) << c.text;
    EXPECT_EQ(time.month, expected.month) << c.text;
    EXPECT_EQ(time.day, expected.day) << c.text;
    EXPECT_EQ(time.hour, expected.hour) << c.text;
    EXPECT_EQ(time.minute, expected.minute) << c.text;
    EXPECT_EQ(time.second, expected.second) << c.text;
  }
}

TEST(RecordTime, WritesTheFixedFormOfFourDigitYears) {
  EXPECT_EQ(record_time_text({2017, 3, 4, 1, 2, 3}), "2017/03/04 01:02:03");
  EXPECT_EQ(record_time_text({1000, 12, 31, 23, 59, 59}), "1000/12/31 23:59:59");
  EXPECT_EQ(record_time_text({999, 1, 1, 0, 0, 0}), "");
  EXPECT_EQ(record_time_text({10000, 1, 1, 0, 0, 0}), "");
}

TEST(RecordTime, AppendWritesAnyYearWithoutAFixedWidth) {
  const struct {
    CivilTime time;
    const char* text;
  } cases[] = {{{2017, 3, 4, 1, 2, 3}, "2017/03/04 01:02:03"},
               {{999, 1, 1, 0, 0, 0}, "999/01/01 00:00:00"},
               {{10000, 12, 31, 23, 59, 59}, "10000/12/31 23:59:59"},
               {{1900, 1, 0, 0, 0, 0}, "1900/01/00 00:00:00"}};
  for (const auto& c : cases) {
    std::string text = "x";
    append_record_time(&text, c.time);
    EXPECT_EQ(text, std::string("x") + c.text);
  }
}

TEST(RecordTime, CivilSecondsCountTheCalendarWithoutZone) {
  EXPECT_EQ(civil_seconds({1970, 1, 1, 0, 0, 0}), 0);
  EXPECT_EQ(civil_seconds({2017, 3, 4, 12, 34, 56}), 1488630896);
  EXPECT_EQ(civil_seconds({1969, 12, 31, 23, 59, 59}), -1);
  EXPECT_EQ(civil_seconds({2024, 3, 1, 0, 0, 0}) - civil_seconds({2024, 2, 28, 0, 0, 0}),
            2 * 86400);  // through a leap day
  EXPECT_EQ(civil_seconds({2023, 3, 1, 0, 0, 0}) - civil_seconds({2023, 2, 28, 0, 0, 0}), 86400);
}

TEST(RecordTime, CivilTimeAtIsTheInverseOfCivilSeconds) {
  // Every day over four centuries around now, at a time of day that changes with it.
  for (int64_t day = -146097; day <= 2 * 146097; day += 7) {
    int64_t seconds = day * 86400 + (day * 7919) % 86400;
    if (seconds < day * 86400) seconds += 86400;
    CivilTime time = civil_time_at(seconds);
    ASSERT_EQ(civil_seconds(time), seconds) << day;
    std::string text = record_time_text(time);
    if (text.empty()) continue;
    CivilTime read;
    ASSERT_TRUE(read_record_time(text, &read)) << text;
    ASSERT_EQ(civil_seconds(read), seconds) << text;
  }
}

TEST(RecordTime, WeekdaysCountFromSunday) {
  EXPECT_EQ(civil_weekday({1970, 1, 1}), 4);   // Thursday
  EXPECT_EQ(civil_weekday({2017, 3, 4}), 6);   // Saturday
  EXPECT_EQ(civil_weekday({2024, 3, 31}), 0);  // Sunday
  EXPECT_EQ(civil_weekday({2024, 4, 1}), 1);
  EXPECT_EQ(civil_weekday({1969, 12, 31}), 3);
  EXPECT_EQ(civil_weekday({1600, 1, 1}), 6);
}

TEST(RecordTime, BrokenDownTimesConvertBothWays) {
  CivilTime time{2017, 3, 4, 12, 34, 56};
  struct tm fields = broken_down_time(time);
  EXPECT_EQ(fields.tm_year, 117);
  EXPECT_EQ(fields.tm_mon, 2);
  EXPECT_EQ(fields.tm_mday, 4);
  EXPECT_EQ(fields.tm_hour, 12);
  EXPECT_EQ(fields.tm_min, 34);
  EXPECT_EQ(fields.tm_sec, 56);
  EXPECT_EQ(fields.tm_wday, 6);  // a Saturday
  EXPECT_EQ(fields.tm_isdst, -1);
  CivilTime back = civil_time_of(fields);
  EXPECT_EQ(record_time_text(back), "2017/03/04 12:34:56");
}

}  // namespace
}  // namespace sarvik
