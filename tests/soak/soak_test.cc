// The soak run: a million records, system and access mixed, through the real service with an
// alert rule that fires, its mails delivered by recording scripts. Afterwards every record must
// stand in its log exactly once and in order, across the month and the 65535-line rotations,
// every hit in the alert log and in a mail, the service must hold the descriptors it held at
// start, and its resident memory must be flat. Not part of the test run: scripts/soak.sh.
//
// SARVIK_SOAK_RECORDS sets the number of records (default 1000000, half of each kind).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <map>
#include <mutex>
#include <thread>

#include "harness/alert_rules.h"
#include "harness/fault_fixture.h"
#include "harness/notice_stubs.h"
#include "harness/records.h"
#include "logstore/log_format.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/notice_settings.h"

namespace sarvik::testing {
namespace {

// System records start on 2023/01/01 00:00 UTC and are 26 s apart: half a million of them span
// about five months, each month more than 65535 lines.
constexpr time_t kFirstSystemTime = 1672531200;
constexpr time_t kSystemStep = 26;
// Every fourth access record is a read of a ".txt" file and fires the rule.
constexpr int kHitEvery = 4;

// Of the event-log requests recorded so far: how many raised an alert, and how many lines those
// alerts counted.
int alerts_raised() {
  int alerts = 0;
  for (const std::string& request : recorded_requests(paths::kEventLogScript)) {
    if (request.find("<code>71100010</code>") != std::string::npos) ++alerts;
  }
  return alerts;
}

long alerted_lines() {
  static const std::string kNumber = "<arg name=\"number\">";
  long lines = 0;
  for (const std::string& request : recorded_requests(paths::kEventLogScript)) {
    size_t at = request.find(kNumber);
    if (request.find("<code>71100010</code>") != std::string::npos && at != std::string::npos) {
      lines += std::stol(request.substr(at + kNumber.size()));
    }
  }
  return lines;
}

long records_wanted() {
  const char* text = std::getenv("SARVIK_SOAK_RECORDS");
  return text != nullptr ? std::atol(text) : 1000000;
}

class Soak : public FaultTest {
 protected:
  // Notes the service's resident memory and descriptors when the `done`-th record is answered.
  void sample(long done) {
    for (long point : {10000L, 100000L, 1000000L, records_wanted()}) {
      if (done != point) continue;
      std::lock_guard<std::mutex> lock(mutex);
      rss_at[point] = service->resident_kib();
      descriptors_at[point] = service->descriptor_count();
    }
  }

  void send_system_records(long count) {
    for (long i = 0; i < count; ++i) {
      std::string record = system_record(std::to_string(kFirstSystemTime + i * kSystemStep),
                                         "s" + std::to_string(i), "soak", "x");
      if (sarvik::testing::exchange(record, 60s) != kOkAnswer) ++unanswered;
      sample(++done);
    }
  }

  void send_access_records(long count) {
    for (long i = 0; i < count; ++i) {
      std::string path = "r|dir/f" + std::to_string(i) + (i % kHitEvery == 0 ? ".txt" : ".dat");
      std::string record =
          access_record("a" + std::to_string(i), "pc1", "192.0.2.7", "open", 1, 0, "docs", path);
      if (sarvik::testing::exchange(record, 60s) != kOkAnswer) ++unanswered;
      sample(++done);
    }
  }

  std::atomic<long> done{0};
  std::atomic<long> unanswered{0};
  std::mutex mutex;
  std::map<long, long> rss_at;         // guarded by mutex
  std::map<long, int> descriptors_at;  // guarded by mutex
};

// The lines of `log` hold the marks "<prefix>0", "<prefix><step>", ... up to `count` marks, in
// order and each once; with `first_time`, the system records' own times as well. No file holds
// more than 65535 lines. Returns the number of files.
size_t expect_complete(const std::string& log, const std::string& prefix, long count, long step,
                       time_t first_time = 0) {
  std::vector<std::string> lines = log_lines(log, kLogVolume);
  EXPECT_EQ(lines.size(), static_cast<size_t>(count)) << log;
  long mismatches = 0;
  for (long i = 0; i < count && i < static_cast<long>(lines.size()); ++i) {
    std::vector<std::string> fields = fields_of(lines[i]);
    bool good = fields.size() > 1 && fields[1] == prefix + std::to_string(i * step);
    if (first_time != 0) good = good && fields[0] == record_time(first_time + i * kSystemStep);
    if (!good && ++mismatches <= 5) ADD_FAILURE() << log << " line " << i << ": " << lines[i];
  }
  EXPECT_EQ(mismatches, 0) << log;
  std::vector<std::string> files = log_files(log, kLogVolume);
  for (const std::string& file : files) {
    std::string text = read_file(std::string(kLogVolume) + "/" + log + "/" + file);
    EXPECT_LE(count_of(text, "\r\n"), kLineLimit) << file;
  }
  return files.size();
}

TEST_F(Soak, MillionRecordsEachLoggedOnceInOrderWithFlatMemory) {
  const long total = records_wanted();
  const long system_count = total / 2;
  const long access_count = total - system_count;
  const long hits = (access_count + kHitEvery - 1) / kHitEvery;

  Settings settings;
  settings.alerts = alert_rule("soak", "<path>*.txt</path>");
  write_settings(settings);
  install_notice_stubs();
  write_mail_profiles(mail_profile(true, {"admin@example.com"}));
  DaemonProcess& daemon = start();
  long rss_at_start = daemon.resident_kib();

  auto started = std::chrono::steady_clock::now();
  std::thread system_client([&] { send_system_records(system_count); });
  std::thread access_client([&] { send_access_records(access_count); });
  system_client.join();
  access_client.join();
  double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  EXPECT_EQ(unanswered, 0);

  // The last batch of hits goes out once the rule has been quiet for a minute.
  auto deadline = std::chrono::steady_clock::now() + 150s;
  while (alerted_lines() < hits && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(1s);
  }
  EXPECT_EQ(alerted_lines(), hits);
  long mailed = 0;
  for (const std::string& mail : recorded_requests(paths::kMailScript)) {
    mailed += count_of(mail, ",open_read,");
  }
  EXPECT_EQ(mailed, hits);

  size_t system_files = expect_complete("systemlog", "s", system_count, 1, kFirstSystemTime);
  size_t access_files = expect_complete("accesslog", "a", access_count, 1);
  size_t alert_files = expect_complete("alertlog", "a", hits, kHitEvery);
  std::vector<std::string> system_months = list_dir(std::string(kLogVolume) + "/systemlog");

  long rss_at_end = daemon.resident_kib();
  std::cout << "soak: " << total << " records in " << seconds << " s ("
            << static_cast<long>(total / seconds) << " per second)\n"
            << "soak: systemlog " << system_files << " files in " << system_months.size()
            << " month directories, accesslog " << access_files << " files, alertlog "
            << alert_files << " files; " << alerted_lines() << " lines alerted in "
            << alerts_raised() << " alerts, " << mailed << " mailed\n"
            << "soak: resident memory at start " << rss_at_start << " KiB\n";
  for (const auto& [point, rss] : rss_at) {
    std::cout << "soak: after " << point << " records: resident " << rss << " KiB, "
              << descriptors_at[point] << " descriptors\n";
  }
  std::cout << "soak: after the last mail: resident " << rss_at_end << " KiB, "
            << daemon.descriptor_count() << " descriptors (at start " << started_descriptors
            << ")\n";

  EXPECT_GE(system_months.size(), 5u);
  // Flat: from the first sample to the last the service grows by less than 2 MiB.
  ASSERT_FALSE(rss_at.empty());
  EXPECT_LT(rss_at.rbegin()->second - rss_at.begin()->second, 2048);
}

}  // namespace
}  // namespace sarvik::testing
