// Record text: the record time written and read.
#include "record/record_text.h"

#include <gtest/gtest.h>

#include "testing/time_zone.h"

namespace sarvik {
namespace {

using testing::ScopedTimeZone;

TEST(FormatTime, EpochInUtc) {
  ScopedTimeZone zone(testing::kUtc);
  EXPECT_EQ(format_time(0), "1970/01/01 00:00:00");
}

TEST(FormatTime, FieldsBelowTenHaveALeadingZero) {
  ScopedTimeZone zone(testing::kUtc);
  EXPECT_EQ(format_time(1488762245), "2017/03/06 01:04:05");
}

TEST(FormatTime, UsesTheLocalTimeZone) {
  ScopedTimeZone zone(testing::kTokyo);
  EXPECT_EQ(format_time(0), "1970/01/01 09:00:00");
}

TEST(FormatTime, FollowsDaylightSavingTime) {
  ScopedTimeZone zone(testing::kBerlin);
  EXPECT_EQ(format_time(1488762245), "2017/03/06 02:04:05");  // winter: UTC+1
  EXPECT_EQ(format_time(1500000000), "2017/07/14 04:40:00");  // summer: UTC+2
}

TEST(FormatTime, IsNineteenCharactersForFourDigitYears) {
  ScopedTimeZone zone(testing::kUtc);
  EXPECT_EQ(format_time(2147483647).size(), 19u);
}

struct ParseCase {
  const char* text;
  time_t expected;
};

TEST(ParseTime, ReadsTheLeadingSigned32BitNumber) {
  const ParseCase cases[] = {
      {"1700000000", 1700000000},
      {"1700000000abc", 1700000000},
      {"", 0},
      {"abc", 0},
      {"99999999999", 2147483647},
      {"-99999999999", -2147483648LL},
      {"   42", 42},
      {"\t\n 7", 7},
      {"-5", -5},
      {"+12", 12},
      {"12 34", 12},
      {"0x10", 0},
  };
  for (const ParseCase& c : cases) {
    EXPECT_EQ(parse_time(c.text), c.expected) << '"' << c.text << '"';
  }
}

}  // namespace
}  // namespace sarvik
