// The rule test: period and weekdays in local time, users, the text conditions, operations.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <ctime>
#include <string>

#include "settings/alert_info.h"

namespace sarvik {
namespace {

using AlertPattern = AlertInfo::AlertPattern;

constexpr uint32_t kEveryDay = 0x7F;
constexpr uint32_t kTuesday = 1u << 2;
constexpr uint32_t kWednesday = 1u << 3;

// Runs each test in a zone nine hours east of UTC, with no daylight saving, and puts the
// caller's zone back afterwards.
class InTokyoTime : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* zone = getenv("TZ");
    had_zone = zone != nullptr;
    if (had_zone) saved_zone = zone;
    setenv("TZ", "JST-9", 1);
    tzset();
  }
  void TearDown() override {
    if (had_zone) {
      setenv("TZ", saved_zone.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

  // A moment on 2024-01-10, a Wednesday, in local time.
  static time_t wednesday(int hour, int minute, int second) {
    struct tm local = {};
    local.tm_year = 2024 - 1900;
    local.tm_mon = 0;
    local.tm_mday = 10;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return mktime(&local);
  }

 private:
  bool had_zone = false;
  std::string saved_zone;
};

AlertInfo rule_for(uint32_t weekdays, HourMinute from, HourMinute to, bool period_not = false) {
  AlertInfo rule("rule");
  rule.weekdays = weekdays;
  rule.set_period(period_not, from, to);
  return rule;
}

using AlertPeriod = InTokyoTime;

TEST_F(AlertPeriod, EndIsInclusiveOfItsWholeMinute) {
  AlertInfo rule = rule_for(kEveryDay, {9, 0}, {17, 0});
  EXPECT_TRUE(rule.match_period(wednesday(17, 0, 59)));
  EXPECT_FALSE(rule.match_period(wednesday(17, 1, 0)));
  EXPECT_FALSE(rule.match_period(wednesday(8, 59, 59)));
  EXPECT_TRUE(rule.match_period(wednesday(9, 0, 0)));
  EXPECT_TRUE(rule.match_period(wednesday(12, 30, 0)));
}

TEST_F(AlertPeriod, EndOfMidnightCoversTheLastMinuteOfTheDay) {
  AlertInfo rule = rule_for(kEveryDay, {0, 0}, {0, 0});
  EXPECT_TRUE(rule.match_period(wednesday(23, 59, 59)));
  EXPECT_TRUE(rule.match_period(wednesday(0, 0, 0)));
}

TEST_F(AlertPeriod, SpanOverMidnightIsNeverInside) {
  AlertInfo rule = rule_for(kEveryDay, {22, 0}, {6, 0});
  AlertInfo inverted = rule_for(kEveryDay, {22, 0}, {6, 0}, /*period_not=*/true);
  for (int hour : {0, 3, 6, 12, 21, 22, 23}) {
    EXPECT_FALSE(rule.match_period(wednesday(hour, 0, 0))) << hour;
    EXPECT_TRUE(inverted.match_period(wednesday(hour, 0, 0))) << hour;
  }
}

TEST_F(AlertPeriod, InvertedPeriodPassesAllDayOnADayWithoutItsBit) {
  AlertInfo rule = rule_for(kTuesday, {9, 0}, {17, 0}, /*period_not=*/true);
  for (int hour : {0, 9, 12, 17, 23}) EXPECT_TRUE(rule.match_period(wednesday(hour, 0, 0)));
  AlertInfo plain = rule_for(kTuesday, {9, 0}, {17, 0});
  EXPECT_FALSE(plain.match_period(wednesday(12, 0, 0)));
}

TEST_F(AlertPeriod, InvertedPeriodFailsInsideTheSpan) {
  AlertInfo rule = rule_for(kWednesday, {9, 0}, {17, 0}, /*period_not=*/true);
  EXPECT_FALSE(rule.match_period(wednesday(12, 0, 0)));
  EXPECT_TRUE(rule.match_period(wednesday(17, 1, 0)));
}

TEST_F(AlertPeriod, WeekdayIsTheLocalOne) {
  // 20:00 on Tuesday in UTC is 5:00 on Wednesday here.
  struct tm utc = {};
  utc.tm_year = 2024 - 1900;
  utc.tm_mon = 0;
  utc.tm_mday = 9;
  utc.tm_hour = 20;
  time_t moment = timegm(&utc);
  EXPECT_TRUE(rule_for(kWednesday, {0, 0}, {0, 0}).match_period(moment));
  EXPECT_FALSE(rule_for(kTuesday, {0, 0}, {0, 0}).match_period(moment));
  EXPECT_TRUE(rule_for(kWednesday, {5, 0}, {5, 0}).match_period(moment));
  EXPECT_FALSE(rule_for(kWednesday, {20, 0}, {20, 0}).match_period(moment));
}

TEST_F(AlertPeriod, NoWeekdayMeansNeverInside) {
  AlertInfo rule = rule_for(0, {0, 0}, {0, 0});
  EXPECT_FALSE(rule.match_period(wednesday(12, 0, 0)));
  rule.period_not = true;
  EXPECT_TRUE(rule.match_period(wednesday(12, 0, 0)));
}

TEST_F(AlertPeriod, OutOfRangeEndTakesPartAsItStands) {
  AlertInfo late = rule_for(kEveryDay, {23, 0}, {25, 0});
  EXPECT_TRUE(late.match_period(wednesday(23, 59, 0)));
  AlertInfo minutes = rule_for(kEveryDay, {9, 75}, {10, 30});  // from 10:15
  EXPECT_FALSE(minutes.match_period(wednesday(10, 14, 0)));
  EXPECT_TRUE(minutes.match_period(wednesday(10, 15, 0)));
}

AlertInfo user_rule(std::initializer_list<std::string> names, bool all, bool invert) {
  AlertInfo rule("rule");
  rule.usernames = names;
  AlertPattern::set_flag(rule.username.flags, all, AlertPattern::ALERT_FLAG_ALL);
  AlertPattern::set_flag(rule.username.flags, invert, AlertPattern::ALERT_FLAG_NOT);
  return rule;
}

TEST(AlertUser, ConfiguredNameIsFoldedToLowerCase) {
  AlertInfo rule = user_rule({"guest", "Admin"}, false, false);
  EXPECT_TRUE(rule.match_username("admin"));
  EXPECT_TRUE(rule.match_username("guest"));
  EXPECT_FALSE(rule.match_username("Admin"));  // the event's name is taken as it comes
  EXPECT_FALSE(rule.match_username("admi"));
  EXPECT_FALSE(rule.match_username("admins"));
}

TEST(AlertUser, BytesAbove127DoNotFold) {
  AlertInfo rule = user_rule({"\xC3\x89mile"}, false, false);
  EXPECT_TRUE(rule.match_username("\xC3\x89mile"));
  EXPECT_FALSE(rule.match_username("\xC3\xA9mile"));
}

TEST(AlertUser, StarInAConfiguredNameIsLiteral) {
  AlertInfo rule = user_rule({"adm*"}, false, false);
  EXPECT_FALSE(rule.match_username("admin"));
  EXPECT_TRUE(rule.match_username("adm*"));
}

TEST(AlertUser, FlagCombinations) {
  for (const char* user : {"admin", "guest", ""}) {
    EXPECT_TRUE(user_rule({}, true, false).match_username(user)) << user;
    EXPECT_FALSE(user_rule({"admin"}, true, true).match_username(user)) << user;
    EXPECT_FALSE(user_rule({}, false, false).match_username(user)) << user;
    EXPECT_TRUE(user_rule({}, false, true).match_username(user)) << user;
  }
  AlertInfo everybody_but_admin = user_rule({"Admin"}, false, true);
  EXPECT_FALSE(everybody_but_admin.match_username("admin"));
  EXPECT_TRUE(everybody_but_admin.match_username("guest"));
}

// A rule that every event on any day fires, unless a test narrows it.
AlertInfo open_rule() {
  AlertInfo rule("rule");
  rule.weekdays = kEveryDay;
  rule.set_period(false, {0, 0}, {0, 0});
  AlertPattern::set_flag(rule.username.flags, true, AlertPattern::ALERT_FLAG_ALL);
  rule.operations["open_read"] = true;
  return rule;
}

// One access event with values that open_rule() accepts.
struct Event {
  std::string username = "admin";
  std::string hostname = "pc1";
  std::string ipaddr = "192.168.0.5";
  std::string operation = "open_read";
  std::string result = "ok";
  std::string sharename = "share";
  std::string path = "docs/a.txt";

  bool fires(const AlertInfo& rule) const {
    return rule.match(time(nullptr), username, hostname, ipaddr, operation, result, sharename,
                      path);
  }
};

TEST(AlertMatch, OpenRuleFiresAndEachConditionCanStopIt) {
  Event event;
  EXPECT_TRUE(event.fires(open_rule()));
  AlertInfo no_day = open_rule();
  no_day.weekdays = 0;
  EXPECT_FALSE(event.fires(no_day));
  AlertInfo no_user = open_rule();
  no_user.username.flags = 0;
  EXPECT_FALSE(event.fires(no_user));
  AlertInfo no_operation = open_rule();
  no_operation.operations.clear();
  EXPECT_FALSE(event.fires(no_operation));
}

struct TextCondition {
  const char* name;
  AlertPattern AlertInfo::*pattern;
  std::string Event::*value;
};

const TextCondition kTextConditions[] = {
    {"hostname", &AlertInfo::hostname, &Event::hostname},
    {"ipaddr", &AlertInfo::ipaddr, &Event::ipaddr},
    {"result", &AlertInfo::result, &Event::result},
    {"sharename", &AlertInfo::sharename, &Event::sharename},
    {"path", &AlertInfo::path, &Event::path},
};

struct FlagCase {
  const char* pattern;
  bool invert;
  const char* value;
  bool passes;
};

const FlagCase kFlagCases[] = {
    {"", false, "anything", true},  // absent: accepts all, whatever the flag
    {"", true, "anything", true},  {"", true, "", true},       {"x*", false, "xyz", true},
    {"x*", false, "abc", false},   {"x*", true, "xyz", false}, {"x*", true, "abc", true},
    {"x*", false, "", false},  // an empty value fails a pattern...
    {"x*", true, "", true},    // ...and so passes an inverted one
};

TEST(AlertMatch, TextConditionFlagTruthTable) {
  for (const TextCondition& condition : kTextConditions) {
    for (const FlagCase& c : kFlagCases) {
      AlertInfo rule = open_rule();
      AlertPattern& pattern = rule.*condition.pattern;
      pattern.text = c.pattern;
      AlertPattern::set_flag(pattern.flags, c.invert, AlertPattern::ALERT_FLAG_NOT);
      Event event;
      event.*condition.value = c.value;
      EXPECT_EQ(event.fires(rule), c.passes)
          << condition.name << " pattern \"" << c.pattern << "\" not " << c.invert << " value \""
          << c.value << "\"";
      EXPECT_EQ(rule.match_path(c.value, pattern), c.passes) << condition.name;
    }
  }
}

TEST(AlertMatch, InvertedHostnameStopsAMatchingHost) {
  AlertInfo rule = open_rule();
  rule.hostname.text = "PC*";
  AlertPattern::set_flag(rule.hostname.flags, true, AlertPattern::ALERT_FLAG_NOT);
  Event event;
  event.hostname = "pc1";
  EXPECT_FALSE(event.fires(rule));
  event.hostname = "server";
  EXPECT_TRUE(event.fires(rule));
}

TEST(AlertOperation, FoundByExactBytesAndEnabled) {
  AlertInfo rule("rule");
  rule.operations["open_read"] = true;
  rule.operations["delete"] = false;
  EXPECT_TRUE(rule.is_operation_enabled("open_read"));
  EXPECT_FALSE(rule.is_operation_enabled("delete"));  // known and off
  EXPECT_FALSE(rule.is_operation_enabled("rename"));  // unknown
  EXPECT_FALSE(rule.is_operation_enabled("Open_read"));
  EXPECT_FALSE(rule.is_operation_enabled("open_read "));
  EXPECT_FALSE(rule.is_operation_enabled("open"));
  EXPECT_FALSE(rule.is_operation_enabled(std::string("open_read\0", 10)));
}

TEST(AlertOperation, MatchNeedsTheOperationEnabled) {
  AlertInfo rule = open_rule();
  rule.operations["delete"] = false;
  Event event;
  event.operation = "delete";
  EXPECT_FALSE(event.fires(rule));
  event.operation = "rename";
  EXPECT_FALSE(event.fires(rule));
  event.operation = "OPEN_READ";
  EXPECT_FALSE(event.fires(rule));
  event.operation = "open_read";
  EXPECT_TRUE(event.fires(rule));
}

TEST_F(AlertPeriod, BrokenDownTimeGivesWhatTheTimeGives) {
  const AlertInfo rules[] = {
      rule_for(kEveryDay, {9, 0}, {17, 0}),
      rule_for(kWednesday, {0, 0}, {0, 0}),
      rule_for(kTuesday, {0, 0}, {0, 0}, /*period_not=*/true),
      rule_for(kWednesday, {22, 0}, {6, 0}, /*period_not=*/true),
      rule_for(0, {0, 0}, {0, 0}),
  };
  for (int minutes = 0; minutes < 24 * 60; minutes += 7) {
    time_t when = wednesday(minutes / 60, minutes % 60, 59);
    struct tm local;
    ASSERT_NE(localtime_r(&when, &local), nullptr);
    for (const AlertInfo& rule : rules) {
      EXPECT_EQ(rule.match_period(local), rule.match_period(when)) << minutes;
      AlertInfo open = rule;
      open.username.flags = AlertPattern::ALERT_FLAG_ALL;
      open.operations["open_read"] = true;
      EXPECT_EQ(open.match(local, "u", "h", "i", "open_read", "ok", "s", "p"),
                open.match(when, "u", "h", "i", "open_read", "ok", "s", "p"))
          << minutes;
    }
  }
}

TEST(AlertFold, EveryBytePairComparesAsTolowerOfSignedCharsDoes) {
  AlertInfo rule("fold");
  for (int t = -128; t < 128; ++t) {
    for (int p = -128; p < 128; ++p) {
      if (p == '*') continue;
      char text = static_cast<char>(t);
      char pattern = static_cast<char>(p);
      bool expected =
          tolower(static_cast<signed char>(text)) == tolower(static_cast<signed char>(pattern));
      ASSERT_EQ(rule.match_wildcard(&text, &text + 1, &pattern, &pattern + 1), expected)
          << t << " " << p;
    }
  }
}

TEST(AlertUser, FoldedInPlaceAsAFoldedCopyWould) {
  AlertInfo rule("users");
  rule.usernames = {"ADMIN", "Bob", "carol\xC3\x89", "", "dave"};
  const char* const kGiven[] = {"admin",         "ADMIN",         "bob", "bo",   "bobb",
                                "carol\xC3\x89", "carol\xC3\xA9", "",    "dave", "Dave"};
  for (const char* given : kGiven) {
    bool expected = false;
    for (const std::string& name : rule.usernames) {
      std::string folded = name;
      for (char& c : folded) c = static_cast<char>(tolower(static_cast<signed char>(c)));
      expected = expected || folded == given;
    }
    EXPECT_EQ(rule.match_username(given), expected) << given;
  }
}

}  // namespace
}  // namespace sarvik
