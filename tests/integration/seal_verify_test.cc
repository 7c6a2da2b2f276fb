// Sealed logs end to end: the real service seals lines of both kinds across rotations by count
// and by month, a restart and a reload; sarvik-log --verify then finds each change that an
// unprivileged user makes, at its line and nothing else, and with the key a state that root
// put back.
#include <signal.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "harness/alert_rules.h"
#include "harness/fault_fixture.h"
#include "harness/log_tool.h"
#include "harness/records.h"
#include "logstore/log_kinds.h"
#include "seal/existing_file.h"
#include "seal/seal_crypto.h"
#include "seal/sealer.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/text_count.h"

namespace sarvik::testing {
namespace {

const std::string kSealDir = paths::kSealDir;

// What sarvik-log --verify said.
struct Verified {
  int status = -1;
  std::vector<std::string> findings;  // "FILE:LINE:KIND", LINE empty for a whole file
  std::string total;                  // the total's JSON
  std::string err;
};

class SealedLogs : public FaultTest {
 protected:
  void SetUp() override {
    FaultTest::SetUp();
    ASSERT_TRUE(seal_crypto_ready());
    // The log volume is a share: every local user may write it.
    ASSERT_EQ(chmod(kLogVolume, 0777), 0);
    Settings settings;
    settings.alerts = alert_rule("docs-reads", "<sharename>docs</sharename>");
    settings.hardening = "<hardening><seal enable=\"true\"/></hardening>";
    write_settings(settings);
  }

  // Sets up the sealing state with the tool and writes the verification key to a file.
  void set_up_keys() {
    CommandResult result = sarvik_log({"--setup-keys"});
    ASSERT_EQ(result.status, 0) << result.err;
    write_file("/tmp/verification-key", result.out, 0600);
  }

  // Seals the lines of the access log's file `relative` (below the volume), which the test wrote
  // while the service was stopped, with the service's own sealer.
  static void seal_written(const std::string& relative) {
    std::ostringstream errors, progress;
    Sealer sealer(kSealDir, errors, progress);
    sealer.apply(true);
    ASSERT_TRUE(sealer.sealing()) << errors.str();
    const size_t slash = relative.find('/', strlen("accesslog/"));
    std::string why;
    ASSERT_TRUE(
        seal_existing_file(*sealer.for_log(kAccessLog), std::string(kLogVolume) + "/accesslog",
                           relative.substr(strlen("accesslog/"), slash - strlen("accesslog/")),
                           relative.substr(slash + 1), &why))
        << why;
  }

  static void stop(std::unique_ptr<DaemonProcess>& daemon, int& descriptors) {
    daemon.reset();
    descriptors = -1;
  }

  static Verified verify(const std::vector<std::string>& extra = {}) {
    std::vector<std::string> args{"--verify", "--root", kLogVolume, "--output", "json"};
    args.insert(args.end(), extra.begin(), extra.end());
    CommandResult result = sarvik_log(args);
    Verified verified;
    verified.status = result.status;
    verified.err = result.err;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
      nlohmann::json object = nlohmann::json::parse(line);
      if (object.contains("kind")) {
        std::string at = object["line"].is_null() ? "" : std::to_string(int(object["line"]));
        verified.findings.push_back(std::string(object["file"]) + ":" + at + ":" +
                                    std::string(object["kind"]));
      } else if (object.contains("state")) {
        verified.total = line;
      }
    }
    return verified;
  }

  static std::string path(const std::string& relative) {
    return std::string(kLogVolume) + "/" + relative;
  }

  // The access log's files below the volume, oldest name first.
  static std::vector<std::string> access_files() {
    std::vector<std::string> files;
    for (const std::string& file : log_files("accesslog", kLogVolume)) {
      files.push_back("accesslog/" + file);
    }
    return files;
  }
};

// A time in the same month as `now` but not the same second, for a file of its own.
time_t other_second_this_month(time_t now) {
  return month_dir(now - 3600) == month_dir(now) ? now - 3600 : now + 3600;
}

TEST_F(SealedLogs, EachChangeOfAnUnprivilegedUserIsFoundAtItsLineAndNothingElse) {
  set_up_keys();
  const time_t now = time(nullptr);
  // Last month's file, full but for one line: the service's first line opens a new month.
  const std::string last_month = fill_current_access_file(now - 40 * 86400);
  seal_written(last_month);
  // The directories as the service makes them, open to all.
  ASSERT_EQ(chmod(path(last_month.substr(0, last_month.rfind('/'))).c_str(), 0777), 0);
  start();
  std::vector<std::string> marks = numbered("a", 10);
  for (const std::string& mark : marks) {
    EXPECT_EQ(exchange(marked_access_record(mark)), kOkAnswer);
  }
  const time_t ten_begun = time(nullptr);
  EXPECT_EQ(exchange(system_record(std::to_string(now), "disk", "sda", "ok")), kOkAnswer);
  EXPECT_EQ(exchange(system_record(std::to_string(now - 40 * 86400), "late", "x", "y")), kOkAnswer);
  // A restart, with this month's current file full but for one line: the second line after it
  // opens a new file by count.
  stop(service, started_descriptors);
  const std::string full = fill_current_access_file(other_second_this_month(now));
  seal_written(full);
  start();
  EXPECT_EQ(exchange(marked_access_record("line65535")), kOkAnswer);
  // A file is named by the second of its first line: the new one must not take the name of the
  // file of ten lines, which the service would then go on writing.
  while (time(nullptr) <= ten_begun) std::this_thread::sleep_for(50ms);
  EXPECT_EQ(exchange(marked_access_record("newfile")), kOkAnswer);
  // A reload, and more of both kinds.
  service->send_signal(SIGHUP);
  EXPECT_EQ(exchange(marked_access_record("reloaded")), kOkAnswer);
  EXPECT_TRUE(service->wait_for_stdout("Reload config"));
  EXPECT_EQ(exchange(system_record(std::to_string(now), "after", "the", "reload")), kOkAnswer);
  EXPECT_EQ(service->stderr_text(), "");

  const std::vector<std::string> files = access_files();
  ASSERT_EQ(files.size(), 4u);
  ASSERT_EQ(files[0], last_month);
  const std::string ten = files[1] == full ? files[2] : files[1];
  const std::string newest = files[3];
  ASSERT_EQ(log_lines("accesslog", kLogVolume).size(), 65534u + 10 + 65535 + 2);
  ASSERT_EQ(log_lines("systemlog", kLogVolume).size(), 3u);
  ASSERT_EQ(log_lines("alertlog", kLogVolume).size(), 13u);

  Verified clean = verify();
  EXPECT_EQ(clean.status, 0) << clean.err;
  EXPECT_EQ(clean.findings, std::vector<std::string>{});
  EXPECT_NE(clean.total.find("\"state\": \"not proven\""), std::string::npos) << clean.total;
  Verified proven = verify({"--key", "/tmp/verification-key"});
  EXPECT_EQ(proven.status, 0) << proven.err;
  EXPECT_EQ(proven.findings, std::vector<std::string>{});
  EXPECT_NE(proven.total.find("\"state\": \"proven\""), std::string::npos) << proven.total;

  // Each change is made as the user nobody, in place, and undone by root afterwards.
  const std::string original = read_file(path(ten));
  const std::string at = path(ten);
  const size_t third_line = original.find("\r\n", original.find("\r\n") + 2) + 2;
  const std::string forged =
      record_time(now) + ",mallory,pc9,192.0.2.66,open_read,ok,docs,payroll.xlsx";
  const struct {
    const char* what;
    std::string script;
    std::string found;
  } changes[] = {
      {"one byte of line 3",
       "printf x | dd of=" + at + " bs=1 seek=" + std::to_string(third_line + 25) +
           " conv=notrunc 2>/dev/null",
       ten + ":3:modified"},
      {"line 4 deleted", "awk 'NR != 4' " + at + " >/tmp/t; cat /tmp/t >" + at, ten + ":4:deleted"},
      {"a forged line after line 5",
       "awk -v forged='" + forged + "' 'NR == 6 { printf \"%s\\r\\n\", forged } { print }' " + at +
           " >/tmp/t; cat /tmp/t >" + at,
       ten + ":6:inserted"},
      {"lines 6 and 7 swapped",
       "awk 'NR == 6 { held = $0; next } NR == 7 { print; print held; next } { print }' " + at +
           " >/tmp/t; cat /tmp/t >" + at,
       ten + ":6:reordered"},
      {"the last two lines cut", "head -n 8 " + at + " >/tmp/t; cat /tmp/t >" + at,
       ten + ":9:truncated"},
  };
  for (const auto& change : changes) {
    CommandResult done = run_as_nobody(change.script);
    ASSERT_EQ(done.status, 0) << change.what << ": " << done.err;
    for (const std::vector<std::string>& key :
         std::vector<std::vector<std::string>>{{}, {"--key", "/tmp/verification-key"}}) {
      Verified verified = verify(key);
      EXPECT_EQ(verified.status, 1) << change.what << verified.err;
      EXPECT_EQ(verified.findings, std::vector<std::string>{change.found}) << change.what;
    }
    write_file(at, original, 0666);
  }
  ASSERT_EQ(verify().findings, std::vector<std::string>{});

  CommandResult copied = run_as_nobody("cp " + path(newest) + " " + path(newest) + ".copy; mv " +
                                       path(newest) + ".copy " + path(newest));
  ASSERT_EQ(copied.status, 0) << copied.err;
  EXPECT_EQ(verify().findings, std::vector<std::string>{newest + "::replaced"});
  ASSERT_EQ(run_as_nobody("rm " + path(last_month)).status, 0);
  EXPECT_EQ(verify().findings,
            (std::vector<std::string>{last_month + "::missing", newest + "::replaced"}));
}

TEST_F(SealedLogs, AStateThatRootPutBackIsFoundWithTheKeyOnly) {
  set_up_keys();
  start();
  for (const std::string& mark : numbered("before", 3)) {
    EXPECT_EQ(exchange(marked_access_record(mark)), kOkAnswer);
  }
  // Root, without the key: the state copied aside, records written, the old state put back in
  // place and the logs cut to match.
  ASSERT_EQ(run_command({"/bin/cp", "-a", kSealDir, "/tmp/saved-state"}).status, 0);
  const std::string access = path(access_files().at(0));
  const std::string alert = path("alertlog/" + log_files("alertlog", kLogVolume).at(0));
  const std::string access_before = read_file(access);
  const std::string alert_before = read_file(alert);
  for (const std::string& mark : numbered("hidden", 3)) {
    EXPECT_EQ(exchange(marked_access_record(mark)), kOkAnswer);
  }
  ASSERT_EQ(run_command({"/bin/cp", "-a", "/tmp/saved-state/.", kSealDir}).status, 0);
  write_file(access, access_before, 0666);
  write_file(alert, alert_before, 0666);
  // The service goes on: the next record is sealed behind the chain that it knows.
  EXPECT_EQ(exchange(marked_access_record("after")), kOkAnswer);

  Verified without_key = verify();
  EXPECT_EQ(without_key.status, 0) << without_key.err;
  EXPECT_EQ(without_key.findings, std::vector<std::string>{});
  EXPECT_NE(without_key.total.find("\"state\": \"not proven\""), std::string::npos);

  // With the key: in each chain the blank left where the journal was put back, and the seals
  // missing before the one the service made next.
  Verified with_key = verify({"--key", "/tmp/verification-key"});
  EXPECT_EQ(with_key.status, 1) << with_key.err;
  EXPECT_EQ(with_key.findings, (std::vector<std::string>{"accesslog::state", "accesslog::state",
                                                         "alertlog::state", "alertlog::state"}));
  EXPECT_NE(with_key.total.find("\"state\": \"altered\""), std::string::npos);
  CommandResult text =
      sarvik_log({"--verify", "--root", kLogVolume, "--key", "/tmp/verification-key"});
  EXPECT_NE(text.out.find("accesslog: state: seals 4 to 6 are missing from the journal: the state "
                          "was cut or rolled back\n"),
            std::string::npos)
      << text.out;
}

TEST_F(SealedLogs, SetUpKeysMakesARootOnlyStateOnceAndForceReplacesIt) {
  CommandResult first = sarvik_log({"--setup-keys"});
  ASSERT_EQ(first.status, 0) << first.err;
  // The key alone on standard output: eight groups of eight hexadecimal digits.
  ASSERT_EQ(first.out.size(), 8u * 9);
  EXPECT_EQ(count_of(first.out, "-"), 7);
  EXPECT_NE(first.err.find("shown only this once"), std::string::npos) << first.err;
  EXPECT_NE(first.err.find("copy it off the appliance"), std::string::npos) << first.err;
  EXPECT_EQ(file_mode(kSealDir), 0700);
  EXPECT_EQ(list_dir(kSealDir),
            (std::vector<std::string>{"access.seals", "alert.seals", "key", "system.seals"}));
  for (const std::string& name : list_dir(kSealDir)) {
    EXPECT_EQ(file_mode(kSealDir + "/" + name), 0600) << name;
  }
  const std::string key_file = read_file(kSealDir + "/key");

  CommandResult again = sarvik_log({"--setup-keys"});
  EXPECT_EQ(again.status, 2);
  EXPECT_EQ(again.out, "");
  EXPECT_EQ(again.err,
            "sarvik-log: a sealing state exists in /mnt/data/conf/sarvik/seal; --force replaces "
            "it, and the lines sealed so far can then no longer be verified\n");
  EXPECT_EQ(read_file(kSealDir + "/key"), key_file);

  CommandResult forced = sarvik_log({"--setup-keys", "--force"});
  EXPECT_EQ(forced.status, 0) << forced.err;
  EXPECT_NE(forced.out, first.out);
  EXPECT_NE(read_file(kSealDir + "/key"), key_file);
  EXPECT_EQ(list_dir("/mnt/data/conf/sarvik"), std::vector<std::string>{"seal"});

  // Nobody else can set it up, nor read it.
  CommandResult user = run_as_nobody(std::string(SARVIK_LOG_PATH) + " --setup-keys --force");
  EXPECT_EQ(user.status, 2);
  CommandResult reader =
      run_as_nobody(std::string(SARVIK_LOG_PATH) + " --verify --root " + kLogVolume);
  EXPECT_EQ(reader.status, 2);
  EXPECT_NE(reader.err.find("cannot read the sealing state"), std::string::npos) << reader.err;
}

}  // namespace
}  // namespace sarvik::testing
