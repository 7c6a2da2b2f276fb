// The local time zone end to end: an administrator changes /etc/localtime while the service
// runs, and the next record is in the new zone.
#include <stdlib.h>
#include <sys/mount.h>
#include <time.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "harness/records.h"
#include "harness/service_test.h"

namespace sarvik::testing {
namespace {

using TimeZone = ServiceTest;

constexpr char kZoneDir[] = "/usr/share/zoneinfo/";
// Five hours behind UTC in winter, and nine hours ahead all year, with no daylight saving.
constexpr char kNewYork[] = "America/New_York";
constexpr char kTokyo[] = "Asia/Tokyo";
constexpr long kTokyoOffset = 9 * 3600;

// 2024-01-31 20:00:00 UTC: 15:00 on 31 January in New York, 05:00 on 1 February in Tokyo.
constexpr time_t kLastOfJanuary = 1706731200;

// Puts the zone file of `zone` over /etc/localtime, in this test's mount namespace only, as an
// administrator who sets the appliance's zone replaces that file.
void set_local_zone(const char* zone) {
  const std::string file = kZoneDir + std::string(zone);
  ASSERT_EQ(mount(file.c_str(), "/etc/localtime", nullptr, MS_BIND, nullptr), 0)
      << "bind " << file << " over /etc/localtime: " << strerror(errno);
}

// `when` broken down in Tokyo's time, worked out without the C library's zone.
struct tm tokyo_fields(time_t when) {
  time_t shifted = when + kTokyoOffset;
  struct tm fields;
  gmtime_r(&shifted, &fields);
  return fields;
}

// `when` as a record time in Tokyo.
std::string tokyo_record_time(time_t when) {
  struct tm fields = tokyo_fields(when);
  char text[32];
  strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &fields);
  return text;
}

// A rule for reads on every day from `from_hour`:00 to `to_hour`:59.
std::string rule_in_hours(const std::string& name, int from_hour, int to_hour) {
  return "<alert><name>" + name +
         "</name><period><weekdays sun=\"true\" mon=\"true\" tue=\"true\" wed=\"true\" "
         "thu=\"true\" fri=\"true\" sat=\"true\"/><from><hour>" +
         std::to_string(from_hour) + "</hour><minute>0</minute></from><to><hour>" +
         std::to_string(to_hour) +
         "</hour><minute>59</minute></to></period><usernamelist all=\"true\"/><operationlist>"
         "<operation type=\"open_read\" enable=\"true\"/></operationlist></alert>";
}

TEST_F(TimeZone, NextRecordFollowsANewZoneFile) {
  // The service finds its zone in /etc/localtime alone, as on the appliance.
  unsetenv("TZ");
  set_local_zone(kNewYork);
  // A rule for the present hour in Tokyo, give or take one: in New York it is 13 or 14 hours
  // away, so the rule fires only if the rule test converts in the new zone. A span does not
  // wrap over midnight, so the last minute of Tokyo's day is waited out.
  struct tm tokyo = tokyo_fields(time(nullptr));
  if (tokyo.tm_hour == 23 && tokyo.tm_min == 59) {
    std::this_thread::sleep_for(std::chrono::seconds(61 - tokyo.tm_sec));
    tokyo = tokyo_fields(time(nullptr));
  }
  Settings settings;
  settings.alerts = rule_in_hours("tokyo-hours", tokyo.tm_hour == 0 ? 0 : tokyo.tm_hour - 1,
                                  tokyo.tm_hour == 23 ? 23 : tokyo.tm_hour + 1);
  write_settings(settings);
  start_service();

  ASSERT_EQ(exchange(system_record(std::to_string(kLastOfJanuary), "before", "b", "c")), kOkAnswer);
  set_local_zone(kTokyo);
  ASSERT_EQ(exchange(system_record(std::to_string(kLastOfJanuary + 1), "after", "b", "c")),
            kOkAnswer);
  time_t before = time(nullptr);
  ASSERT_EQ(exchange(access_record("alice", "pc1", "192.0.2.7", "open", 1, 0, "docs", "r|a.txt")),
            kOkAnswer);
  time_t after = time(nullptr);

  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            (std::vector<std::string>{"2024/01/31 15:00:00,before,b,c",
                                      "2024/02/01 05:00:01,after,b,c"}));
  EXPECT_EQ(log_files("systemlog", kLogVolume),
            (std::vector<std::string>{"202401/system_20240131150000.csv",
                                      "202402/system_20240201050001.csv"}));
  const std::vector<std::string> access = log_lines("accesslog", kLogVolume);
  ASSERT_EQ(access.size(), 1u);
  const std::string time_text = access[0].substr(0, access[0].find(','));
  bool in_tokyo = false;
  for (time_t when = before; when <= after; ++when) {
    if (time_text == tokyo_record_time(when)) in_tokyo = true;
  }
  EXPECT_TRUE(in_tokyo) << time_text << " is not the present in Tokyo";
  EXPECT_EQ(log_lines("alertlog", kLogVolume), access) << "the rule's hours were not Tokyo's";
}

}  // namespace
}  // namespace sarvik::testing
