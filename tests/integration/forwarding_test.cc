// The forwarding end to end: the real service, a sender rsyslogd and a collector rsyslogd with
// the configurations that sarvik-forwarding prints, on loopback in the test's own namespaces.
// 100,000 access records and system records in two months go in through sarvik-send, the
// collector is stopped for 20 seconds in the middle, and afterwards every line of every log file
// must stand in the collector's files, in the order of its file, with every field right.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "forwarding/forwarded_lines.h"
#include "forwarding/isolated_network.h"
#include "forwarding/rsyslog_process.h"
#include "harness/alert_rules.h"
#include "harness/command.h"
#include "harness/notice_stubs.h"
#include "harness/service_test.h"
#include "harness/settings_file.h"
#include "testing/file_text.h"

namespace sarvik::testing {
namespace {

constexpr int kAccessRecords = 100000;
constexpr int kPort = 10514;
// The collector is stopped once this many lines have reached it, and started again after
// kOutage.
constexpr long kLinesBeforeOutage = 20000;
constexpr auto kOutage = 20s;
// The most duplicates that one restart of a RELP collector may bring: the lines of the sender's
// window, sent again because their acknowledgement was lost with the connection.
constexpr long kRelpWindow = 1024;

const char kDir[] = "/tmp/forwarding";
const char kCollectorOut[] = "/tmp/forwarding/out";

// Whether access record `i` is a read on the share "secret", which the test's alert rule reports.
bool reads_secret(int i) { return i % 5000 == 1 && i % 97 != 0; }

// The access records of the test, in sarvik-send's batch form: mostly plain reads and writes, and
// among them paths with commas and with names in other scripts, failures, and the reads that
// reads_secret names.
std::string access_batch() {
  static const char* const kSpecialPaths[] = {
      "r|reports/q1,q2,final.txt",
      "w|Bücher/Überblick, 2026.pdf",
      "r|日本語/ファイル,名.txt",
      "r|a,b,c,d,e,f,g,h",
      "w|,leading comma",
      "r|trailing comma,",
      "r|.",
      "w|Ελληνικά/αρχείο.odt",
  };
  std::ostringstream batch;
  for (int i = 0; i < kAccessRecords; ++i) {
    std::string path = i % 97 == 0 ? kSpecialPaths[(i / 97) % 8]
                                   : (i % 2 ? "r|" : "w|") + ("dir" + std::to_string(i % 10)) +
                                         "/file" + std::to_string(i) + ".txt";
    std::string share = reads_secret(i) ? "secret" : "docs";
    bool failed = i % 13 == 0;
    batch << "access\tUser" << i % 50 << "\tpc" << i % 7 << "\t192.0.2." << i % 250 << "\topen\t"
          << (failed ? "0\t13" : "1\t0") << "\t" << share << "\t" << path << "\n";
  }
  return batch.str();
}

// System records at the present time, and further ones a month and more ahead, whose lines open
// a month directory of their own while everything runs. Texts with commas are among them.
std::string system_batch(time_t now, int from, int count) {
  std::ostringstream batch;
  for (int i = from; i < from + count; ++i) {
    time_t when = i % 2 ? now : now + 40 * 86400 + i;
    batch << "system\t" << when << "\tforwarding test\trecord " << i << "\t"
          << (i % 3 == 0 ? "text, with, commas" : "plain text") << "\n";
  }
  // One record whose first text has a comma: its split moves the rest one field on.
  batch << "system\t" << now << "\tfirst, text\tsecond\tthird\n";
  return batch.str();
}

// Waits until the collector's files hold at least `lines` lines, or until they stop growing
// for `quiet`; returns the count.
long wait_for_forwarded(long lines, std::chrono::seconds quiet, std::chrono::seconds limit) {
  auto deadline = std::chrono::steady_clock::now() + limit;
  auto last_growth = std::chrono::steady_clock::now();
  long count = 0;
  while (std::chrono::steady_clock::now() < deadline) {
    long now_count = forwarded_line_count(kCollectorOut);
    if (now_count != count) last_growth = std::chrono::steady_clock::now();
    count = now_count;
    if (count >= lines || std::chrono::steady_clock::now() - last_growth > quiet) break;
    std::this_thread::sleep_for(1s);
  }
  return count;
}

// The first part of the host name, as rsyslog names the sending appliance.
std::string short_host_name() {
  char name[256] = {};
  gethostname(name, sizeof(name) - 1);
  std::string host = name;
  return host.substr(0, host.find('.'));
}

class Forwarding : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    if (HasFatalFailure()) return;
    std::string why;
    ASSERT_TRUE(isolate_network(&why)) << why;
    Settings settings;
    settings.alerts = alert_rule("secret-reads", "<sharename>secret</sharename>");
    write_settings(settings);
    install_notice_stubs();
    make_dirs(std::string(kDir) + "/sender");
    make_dirs(std::string(kDir) + "/collector");
    // The sender runs as nobody, as the packaged unit's unprivileged user.
    ASSERT_EQ(chown((std::string(kDir) + "/sender").c_str(), 65534, 65534), 0);
  }

  // The configuration that sarvik-forwarding prints for `args`, written to `path`.
  void write_config(const std::vector<std::string>& args, const std::string& path) {
    std::vector<std::string> argv{SARVIK_FORWARDING_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    CommandResult result = run_command(argv);
    ASSERT_EQ(result.status, 0) << result.err;
    write_file(path, result.out);
  }

  void start_collector() {
    collector =
        std::make_unique<RsyslogProcess>(collector_config, std::string(kDir) + "/collector.log",
                                         /*unprivileged=*/false);
  }

  std::string diagnostics() {
    return "sender: " + read_file(std::string(kDir) + "/sender.log") +
           "\ncollector: " + read_file(std::string(kDir) + "/collector.log");
  }

  std::string collector_config = std::string(kDir) + "/collector.conf";
  std::unique_ptr<RsyslogProcess> collector;
  std::unique_ptr<RsyslogProcess> sender;
};

TEST_F(Forwarding, EveryLineArrivesInOrderWithItsFieldsAcrossACollectorOutage) {
  std::string sender_config = std::string(kDir) + "/sender.conf";
  ASSERT_NO_FATAL_FAILURE(
      write_config({"sender", "--relp", "--work-dir", std::string(kDir) + "/sender",
                    "127.0.0.1:" + std::to_string(kPort)},
                   sender_config));
  ASSERT_NO_FATAL_FAILURE(
      write_config({"collector", "--relp", "--port", std::to_string(kPort), "--dir", kCollectorOut,
                    "--work-dir", std::string(kDir) + "/collector"},
                   collector_config));
  start_service();
  start_collector();
  sender = std::make_unique<RsyslogProcess>(sender_config, std::string(kDir) + "/sender.log",
                                            /*unprivileged=*/true);

  auto started = std::chrono::steady_clock::now();
  time_t now = time(nullptr);
  CommandResult sent_first;
  CommandResult sent_access;
  CommandResult sent_last;
  std::vector<CommandResult> sent_breaks;
  std::thread client([&] {
    sent_first = run_command({SARVIK_SEND_PATH, "--batch"}, system_batch(now, 0, 10));
    sent_access = run_command({SARVIK_SEND_PATH, "--batch"}, access_batch());
    sent_last = run_command({SARVIK_SEND_PATH, "--batch"}, system_batch(now, 10, 10));
    // Line breaks inside a record's text, which a batch cannot carry.
    sent_breaks.push_back(run_command({SARVIK_SEND_PATH, "access", "User1", "pc1", "192.0.2.1",
                                       "open", "1", "0", "docs", "r|two\nlines,a.txt"}));
    sent_breaks.push_back(run_command(
        {SARVIK_SEND_PATH, "system", std::to_string(now), "line\nbreak", "second", "third"}));
  });

  // The outage, while the records still come in and the sender is busy forwarding.
  long before_outage = wait_for_forwarded(kLinesBeforeOutage, 60s, 180s);
  EXPECT_GE(before_outage, kLinesBeforeOutage) << diagnostics();
  EXPECT_TRUE(collector->stop()) << diagnostics();
  auto stopped = std::chrono::steady_clock::now();
  long at_outage = forwarded_line_count(kCollectorOut);
  std::this_thread::sleep_for(kOutage);
  start_collector();
  auto outage = std::chrono::steady_clock::now() - stopped;
  client.join();
  ASSERT_EQ(sent_first.status, 0) << sent_first.err;
  ASSERT_EQ(sent_access.status, 0) << sent_access.err;
  ASSERT_EQ(sent_last.status, 0) << sent_last.err;
  for (const CommandResult& sent : sent_breaks) ASSERT_EQ(sent.status, 0) << sent.err;

  std::vector<LogLine> lines = lines_on_volume(kLogVolume);
  long arrived = wait_for_forwarded(static_cast<long>(lines.size()), 60s, 300s);
  auto took = std::chrono::steady_clock::now() - started;
  EXPECT_TRUE(sender->running()) << diagnostics();
  EXPECT_TRUE(collector->stop()) << diagnostics();
  EXPECT_TRUE(sender->stop()) << diagnostics();

  // The logs hold what was sent: every access record, 23 system records in two months, and the
  // hits of the alert rule; the access log rolled over at its line 65536.
  std::map<std::string, long> per_kind;
  std::map<std::string, long> per_file;
  std::set<std::string> system_months;
  for (const LogLine& line : lines) {
    ++per_kind[line.kind];
    ++per_file[line.file];
    if (line.kind == "system") system_months.insert(line.file.substr(10, 6));
  }
  EXPECT_EQ(per_kind["access"], kAccessRecords + 1);
  EXPECT_EQ(per_kind["system"], 23);
  long hits = 0;
  for (int i = 0; i < kAccessRecords; ++i) hits += reads_secret(i) ? 1 : 0;
  EXPECT_EQ(per_kind["alert"], hits);
  EXPECT_EQ(system_months.size(), 2u);
  std::vector<long> access_file_lines;
  for (const auto& [file, count] : per_file) {
    if (file.rfind("accesslog/", 0) == 0) access_file_lines.push_back(count);
  }
  ASSERT_GE(access_file_lines.size(), 2u);
  EXPECT_EQ(access_file_lines[0], 65535);

  // Every line arrived, with its fields, in the order of its file; duplicates are counted.
  std::vector<std::string> errors;
  std::vector<ForwardedRecord> records = read_forwarded(kCollectorOut, &errors);
  EXPECT_TRUE(errors.empty()) << errors.size() << " bad lines, first: " << errors[0];
  std::map<std::pair<std::string, long>, const ForwardedRecord*> first_arrival;
  std::map<std::string, long> last_offset;
  long duplicates = 0;
  long out_of_order = 0;
  for (const ForwardedRecord& record : records) {
    auto key = std::make_pair(record.file, record.offset);
    if (first_arrival.count(key) != 0) {
      ++duplicates;
      EXPECT_EQ(first_arrival[key]->fields, record.fields) << record.file << ":" << record.offset;
      continue;
    }
    first_arrival[key] = &record;
    auto last = last_offset.find(record.file);
    if (last != last_offset.end() && record.offset <= last->second) ++out_of_order;
    last_offset[record.file] = record.offset;
  }
  std::string appliance = short_host_name();
  long missing = 0;
  long wrong = 0;
  for (const LogLine& line : lines) {
    auto found = first_arrival.find(std::make_pair(line.file, line.offset));
    if (found == first_arrival.end()) {
      if (++missing <= 5) ADD_FAILURE() << "missing: " << line.file << ":" << line.offset;
      continue;
    }
    const ForwardedRecord& record = *found->second;
    if (record.appliance != appliance || record.kind != line.kind ||
        record.fields != expected_fields(line)) {
      if (++wrong <= 5)
        ADD_FAILURE() << "wrong: " << line.file << ":" << line.offset << " " << line.text;
    }
  }
  EXPECT_EQ(missing, 0) << arrived << " of " << lines.size() << " arrived\n" << diagnostics();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(out_of_order, 0);
  EXPECT_EQ(first_arrival.size(), lines.size());
  EXPECT_LE(duplicates, kRelpWindow);
  // The outage fell in the middle: lines were still on their way when the collector went down.
  EXPECT_LT(at_outage, static_cast<long>(lines.size()));

  // The paths with commas and other scripts arrived whole.
  std::multiset<std::string> paths;
  for (const auto& [key, record] : first_arrival) {
    auto path = record->fields.find("path");
    if (path != record->fields.end()) paths.insert(path->second);
  }
  for (const char* path : {"reports/q1,q2,final.txt", "Bücher/Überblick, 2026.pdf",
                           "日本語/ファイル,名.txt", "a,b,c,d,e,f,g,h", ",leading comma",
                           "trailing comma,", "docs", "Ελληνικά/αρχείο.odt", "two\nlines,a.txt"}) {
    EXPECT_GT(paths.count(path), 0u) << path;
  }

  RecordProperty("lines", static_cast<int>(lines.size()));
  RecordProperty("duplicates", static_cast<int>(duplicates));
  std::cout << "forwarding: " << lines.size() << " lines, " << duplicates << " duplicates, "
            << at_outage << " lines at the collector when it stopped, down for "
            << std::chrono::duration_cast<std::chrono::seconds>(outage).count() << " s, "
            << std::chrono::duration_cast<std::chrono::seconds>(took).count()
            << " s from the first record to the last line at the collector\n";
}

}  // namespace
}  // namespace sarvik::testing
