// The rule record: its defaults, the stored period, the flags and copies.
#include "settings/alert_info.h"

#include <gtest/gtest.h>

#include <ctime>

namespace sarvik {
namespace {

using AlertPattern = AlertInfo::AlertPattern;

TEST(AlertRecord, NewRuleHasItsNameAndEveryDefault) {
  AlertInfo rule("watch");
  EXPECT_EQ(rule.name, "watch");
  EXPECT_FALSE(rule.period_not);
  EXPECT_EQ(rule.weekdays, 0u);
  EXPECT_EQ(rule.from_hour, 0);
  EXPECT_EQ(rule.from_minute, 0);
  EXPECT_EQ(rule.to_hour, 0);
  EXPECT_EQ(rule.to_minute, 0);
  for (const AlertPattern* pattern :
       {&rule.username, &rule.hostname, &rule.ipaddr, &rule.result, &rule.sharename, &rule.path}) {
    EXPECT_EQ(pattern->flags, 0u);
    EXPECT_TRUE(pattern->text.empty());
  }
  EXPECT_TRUE(rule.usernames.empty());
  EXPECT_TRUE(rule.operations.empty());
}

TEST(AlertRecord, RuleWithOnlyANameNeverFires) {
  AlertInfo rule("watch");
  rule.set_period(false, {}, {});
  time_t now = time(nullptr);
  for (time_t t = now; t < now + 7 * 86400; t += 3600) {
    EXPECT_FALSE(rule.match(t, "admin", "pc1", "10.0.0.1", "open_read", "ok", "share", "a.txt"));
  }
}

TEST(AlertRecord, EndOfMidnightIsStoredAs24WhateverTheStart) {
  for (HourMinute from : {HourMinute{0, 0}, HourMinute{9, 30}, HourMinute{23, 59}}) {
    AlertInfo rule("r");
    rule.set_period(true, from, {0, 0});
    EXPECT_TRUE(rule.period_not);
    EXPECT_EQ(rule.from_hour, from.hour);
    EXPECT_EQ(rule.from_minute, from.minute);
    EXPECT_EQ(rule.to_hour, 24);
    EXPECT_EQ(rule.to_minute, 0);
  }
}

TEST(AlertRecord, OtherEndsAreStoredAsTheyStand) {
  AlertInfo rule("r");
  rule.set_period(false, {9, 0}, {0, 1});
  EXPECT_FALSE(rule.period_not);
  EXPECT_EQ(rule.to_hour, 0);
  EXPECT_EQ(rule.to_minute, 1);
  rule.set_period(false, {9, 0}, {0, 15});
  EXPECT_EQ(rule.to_minute, 15);
  rule.set_period(false, {9, 0}, {25, 75});
  EXPECT_EQ(rule.to_hour, 25);
  EXPECT_EQ(rule.to_minute, 75);
}

TEST(AlertRecord, EndAfterMidnightMakesTheSpanEmpty) {
  AlertInfo rule("r");
  rule.weekdays = 0x7F;
  rule.set_period(false, {9, 0}, {0, 1});
  time_t now = time(nullptr);
  for (time_t t = now; t < now + 86400; t += 60) EXPECT_FALSE(rule.match_period(t));
}

TEST(AlertRecord, SetFlagSetsAndClearsOnlyTheGivenBits) {
  uint32_t flags = 0;
  AlertPattern::set_flag(flags, true, AlertPattern::ALERT_FLAG_NOT);
  EXPECT_EQ(flags, 2u);
  AlertPattern::set_flag(flags, true, AlertPattern::ALERT_FLAG_ALL);
  EXPECT_EQ(flags, 3u);
  AlertPattern::set_flag(flags, false, AlertPattern::ALERT_FLAG_NOT);
  EXPECT_EQ(flags, 1u);
  AlertPattern::set_flag(flags, false, AlertPattern::ALERT_FLAG_NOT);
  EXPECT_EQ(flags, 1u);
  flags = 0xF0;
  AlertPattern::set_flag(flags, true, 3);
  EXPECT_EQ(flags, 0xF3u);
}

TEST(AlertRecord, CopiesCarryEveryField) {
  AlertInfo rule("original");
  rule.weekdays = 5;
  rule.set_period(true, {8, 15}, {18, 45});
  rule.usernames = {"a", "b"};
  rule.username.flags = 3;
  rule.hostname = {2, "pc*"};
  rule.ipaddr = {2, "10.*"};
  rule.result.text = "fail";
  rule.sharename.text = "share";
  rule.path.text = "*.doc";
  rule.operations = {{"open_read", true}, {"delete", false}};

  AlertInfo copy(rule);
  AlertInfo assigned("other");
  assigned = rule;
  for (const AlertInfo* other : {&copy, &assigned}) {
    EXPECT_EQ(other->name, "original");
    EXPECT_EQ(other->weekdays, 5u);
    EXPECT_TRUE(other->period_not);
    EXPECT_EQ(other->from_hour, 8);
    EXPECT_EQ(other->from_minute, 15);
    EXPECT_EQ(other->to_hour, 18);
    EXPECT_EQ(other->to_minute, 45);
    EXPECT_EQ(other->usernames, rule.usernames);
    EXPECT_EQ(other->username.flags, 3u);
    EXPECT_EQ(other->hostname.flags, 2u);
    EXPECT_EQ(other->hostname.text, "pc*");
    EXPECT_EQ(other->ipaddr.text, "10.*");
    EXPECT_EQ(other->result.text, "fail");
    EXPECT_EQ(other->sharename.text, "share");
    EXPECT_EQ(other->path.text, "*.doc");
    EXPECT_EQ(other->operations, rule.operations);
  }
}

}  // namespace
}  // namespace sarvik
