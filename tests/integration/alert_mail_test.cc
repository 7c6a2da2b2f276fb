// Alerts end to end: after the quiet time, the event log, the buzzer and the mail through the
// notice scripts, in order and byte for byte, and when they come on the real clock. Each case
// waits a minute or two.
#include <sched.h>
#include <time.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "harness/alert_rules.h"
#include "harness/notice_stubs.h"
#include "harness/records.h"
#include "harness/service_test.h"
#include "support/fixed_paths.h"
#include "testing/notice_requests.h"
#include "testing/notice_settings.h"

namespace sarvik::testing {
namespace {

using AlertMail = ServiceTest;

// The record time that opens a log line, "YYYY/MM/DD hh:mm:ss".
constexpr size_t kTimeLength = 19;

// The mail request of profile `profilenum` for rule `name` (escaped) with `lines` (plain).
std::string mail(int profilenum, const std::string& name, const std::vector<std::string>& lines) {
  std::string body = "アラート条件 " + name + ": アクセスを" + std::to_string(lines.size()) +
                     "件検出しました。\n\n";
  for (const std::string& line : lines) body += line + "\n";
  return mail_request(profilenum, "サルビク アラート - 条件名:" + name, body);
}

// A read of `path` on share docs by alice.
std::string read_access(const std::string& path) {
  return access_record("alice", "pc1", "192.0.2.7", "open", 1, 0, "docs", "r|" + path);
}

TEST_F(AlertMail, OneHitRaisesTheAlertAndMailsEveryProfile) {
  install_notice_stubs(/*failing_profile=*/2);
  write_mail_profiles(mail_profile(false, {"off@x"}) + mail_profile(true, {"a@x", "b@x"}) +
                      mail_profile(true, {"c@x"}));
  Settings settings;
  settings.alerts = alert_rule("r&amp;d", "<path>*.txt</path>");
  write_settings(settings);
  DaemonProcess& daemon = start_service();

  ASSERT_EQ(exchange(read_access("dir/a&b%d.txt")), kOkAnswer);
  // The hit wakes the alert thread, which finds it too young.
  EXPECT_TRUE(daemon.wait_for_stdout("alert_thread: check r&d\n"));
  EXPECT_TRUE(recorded_requests(paths::kEventLogScript).empty());
  const std::vector<std::string> lines = log_lines("alertlog", kLogVolume);
  ASSERT_EQ(lines.size(), 1u);

  const std::vector<std::string> events = wait_for_requests(paths::kEventLogScript, 4);
  ASSERT_EQ(events.size(), 4u) << daemon.stdout_text();
  EXPECT_EQ(events[0], eventlog_request("71100010",
                                        "<arg name=\"name\">r&amp;d</arg>"
                                        "<arg name=\"number\">1</arg>"));
  EXPECT_EQ(events[1], eventlog_request("71000010",
                                        "<arg name=\"mail_address\">a@x</arg>"
                                        "<arg name=\"name\">r&amp;d</arg>"));
  EXPECT_EQ(events[2], eventlog_request("71000010",
                                        "<arg name=\"mail_address\">b@x</arg>"
                                        "<arg name=\"name\">r&amp;d</arg>"));
  EXPECT_EQ(events[3], eventlog_request("71090010",
                                        "<arg name=\"mail_address\">c@x</arg>"
                                        "<arg name=\"name\">r&amp;d</arg>"));
  EXPECT_EQ(recorded_requests(paths::kBuzzerScript), std::vector<std::string>{kBuzzerErrorRequest});
  // The line as the log holds it after its time, escaped in the request; "%d" stays as it is.
  const std::string time = lines[0].substr(0, kTimeLength);
  ASSERT_EQ(lines[0].substr(kTimeLength), ",alice,pc1,192.0.2.7,open_read,ok,docs,dir/a&b%d.txt");
  const std::vector<std::string> sent = {
      time + ",alice,pc1,192.0.2.7,open_read,ok,docs,dir/a&amp;b%d.txt"};
  EXPECT_EQ(recorded_requests(paths::kMailScript),
            (std::vector<std::string>{mail(1, "r&amp;d", sent), mail(2, "r&amp;d", sent)}));
  EXPECT_EQ(count_of(daemon.stdout_text(), "alert_thread: try send mail\n"), 1);
}

TEST_F(AlertMail, NoProfileRaisesTheAlertAndSaysNoMailWent) {
  install_notice_stubs();
  write_mail_profiles(mail_profile(false, {"off@x"}));
  Settings settings;
  settings.alerts = alert_rule("reads");
  write_settings(settings);
  DaemonProcess& daemon = start_service();

  ASSERT_EQ(exchange(read_access("a.txt")), kOkAnswer);
  ASSERT_TRUE(daemon.wait_for_stdout("handle_alert: no mail send.", 200s));
  EXPECT_EQ(recorded_requests(paths::kEventLogScript),
            std::vector<std::string>{eventlog_request("71100010",
                                                      "<arg name=\"name\">reads</arg>"
                                                      "<arg name=\"number\">1</arg>")});
  EXPECT_EQ(recorded_requests(paths::kBuzzerScript), std::vector<std::string>{kBuzzerErrorRequest});
  EXPECT_TRUE(recorded_requests(paths::kMailScript).empty());
}

TEST_F(AlertMail, BurstGoesAs1024LinesAtOnceAndTheRestAfterTheQuietTime) {
  install_notice_stubs();
  write_mail_profiles(mail_profile(true, {"a@x"}));
  Settings settings;
  settings.alerts = alert_rule("burst");
  write_settings(settings);
  DaemonProcess& daemon = start_service();

  for (int i = 0; i < 1100; ++i) {
    ASSERT_EQ(exchange(read_access("f" + std::to_string(i) + ".txt")), kOkAnswer);
  }
  const std::vector<std::string> lines = log_lines("alertlog", kLogVolume);
  ASSERT_EQ(lines.size(), 1100u);

  const std::vector<std::string> events = wait_for_requests(paths::kEventLogScript, 4);
  ASSERT_EQ(events.size(), 4u) << daemon.stdout_text();
  const std::string sent = eventlog_request("71000010",
                                            "<arg name=\"mail_address\">a@x</arg>"
                                            "<arg name=\"name\">burst</arg>");
  EXPECT_EQ(events, (std::vector<std::string>{eventlog_request("71100010",
                                                               "<arg name=\"name\">burst</arg>"
                                                               "<arg name=\"number\">1024</arg>"),
                                              sent,
                                              eventlog_request("71100010",
                                                               "<arg name=\"name\">burst</arg>"
                                                               "<arg name=\"number\">76</arg>"),
                                              sent}));
  const std::vector<std::string> first(lines.begin(), lines.begin() + 1024);
  const std::vector<std::string> rest(lines.begin() + 1024, lines.end());
  EXPECT_EQ(recorded_requests(paths::kMailScript),
            (std::vector<std::string>{mail(0, "burst", first), mail(0, "burst", rest)}));
  EXPECT_EQ(recorded_requests(paths::kBuzzerScript).size(), 2u);
}

// The realtime clock in seconds, with its fraction.
double realtime_now() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec + now.tv_nsec / 1e9;
}

// Sleeps until the realtime clock is `millis` milliseconds into a second.
void sleep_until_fraction(long millis) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const long now_ms = now.tv_nsec / 1000000;
  std::this_thread::sleep_for(std::chrono::milliseconds((millis - now_ms + 1000) % 1000));
}

// The quiet time on the real clock, for a hit at a given number of milliseconds into a second.
class QuietTime : public ServiceTest, public ::testing::WithParamInterface<long> {};

// A single hit wakes the alert thread, which finds it too young; the time-out of the wait that
// follows brings the scan that sends it, 59 to 61 seconds after the hit (the deadline is a whole
// second). A clock that lags that deadline finds the hit a second too young and sends it a whole
// wait later.
TEST_P(QuietTime, SingleHitIsAlertedAboutSixtySecondsAfterItCame) {
  install_notice_stubs();
  write_mail_profiles(mail_profile(true, {"a@x"}));
  Settings settings;
  settings.alerts = alert_rule("reads");
  write_settings(settings);
  // The service inherits a real-time priority and runs as a daemon, its messages going to the
  // null device: it runs as soon as its wait ends, as on an idle appliance, and not whenever a
  // busy test machine gets round to it.
  const sched_param priority{1};
  ASSERT_EQ(sched_setscheduler(0, SCHED_FIFO, &priority), 0) << strerror(errno);
  start_service({"-D"});

  sleep_until_fraction(GetParam());
  const double sent = realtime_now();
  ASSERT_EQ(exchange(read_access("a.txt")), kOkAnswer);
  const double answered = realtime_now();
  // Polled every 10 ms, for longer than the latest the request may come.
  std::vector<std::string> events;
  double arrived = answered;
  while (events.empty() && arrived - sent < 65) {
    std::this_thread::sleep_for(10ms);
    events = recorded_requests(paths::kEventLogScript);
    arrived = realtime_now();
  }
  ASSERT_FALSE(events.empty()) << "no alert within 65 s";
  EXPECT_EQ(events[0], eventlog_request("71100010",
                                        "<arg name=\"name\">reads</arg>"
                                        "<arg name=\"number\">1</arg>"));
  EXPECT_GE(arrived - answered, 58.0) << "the alert came too early";
  EXPECT_LE(arrived - sent, 62.0) << "the alert came too late";
}

INSTANTIATE_TEST_SUITE_P(HitAtMillisecond, QuietTime, ::testing::Values(50, 300, 550, 800));

}  // namespace
}  // namespace sarvik::testing
