// A local user who plants links, FIFOs and hard links in the world-writable log tree, at the
// lock file and the state files: the service, running as root, never creates, changes, chmods
// or deletes anything outside the tree through them. Each planted thing makes its place one
// that cannot be opened (a system record waits, an access record is dropped), and the service
// stays up and serves the next client.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "harness/alert_rules.h"
#include "harness/command.h"
#include "harness/fault_fixture.h"
#include "harness/notice_stubs.h"
#include "harness/records.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/notice_settings.h"

namespace sarvik::testing {
namespace {

// Outside the log tree: a root-only secret, a directory of root's, and a file name in the
// scripts' directory that must never come into being.
constexpr char kSecret[] = "/mnt/data/secret";
constexpr char kVictimDir[] = "/mnt/data/victim";
constexpr char kPlanted[] = "/mnt/data/bin/xml.py";
// The month and the file of every marked system record (time kMarkedTime).
constexpr time_t kMarked = 1700000000;
// Where the stub scripts keep the requests they get.
constexpr char kStubRecords[] = "/mnt/data/record";

// Type, mode, size and content of every entry below `root`, by path; `skip` and what lies below
// it are left out.
using Snapshot = std::map<std::string, std::string>;

void take_snapshot(const std::string& root, const std::vector<std::string>& skip,
                   Snapshot* snapshot) {
  for (const std::string& name : list_dir(root)) {
    const std::string path = root + "/" + name;
    if (std::find(skip.begin(), skip.end(), path) != skip.end()) continue;
    struct stat st;
    if (lstat(path.c_str(), &st) != 0) continue;
    std::string entry = std::to_string(st.st_mode) + " " + std::to_string(st.st_uid) + " " +
                        std::to_string(st.st_size);
    if (S_ISREG(st.st_mode)) entry += " " + read_file(path);
    (*snapshot)[path] = entry;
    if (S_ISDIR(st.st_mode)) take_snapshot(path, skip, snapshot);
  }
}

// Everything that the service may not touch: the appliance's volume but the log tree and the
// state directory, the lock directory and /tmp but the socket.
Snapshot outside_of_the_tree() {
  Snapshot snapshot;
  take_snapshot("/mnt/data", {kLogVolume, paths::kStateDir, kStubRecords}, &snapshot);
  take_snapshot("/var/lock", {}, &snapshot);
  take_snapshot("/tmp", {paths::kSocket}, &snapshot);
  return snapshot;
}

class LinkAttack : public FaultTest {
 protected:
  void SetUp() override {
    FaultTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    write_file(kSecret, "root only\n", 0600);
    make_dirs(kVictimDir);
    ASSERT_EQ(chmod(kVictimDir, 0755), 0);
    make_dirs("/mnt/data/bin");
    // Where a user may plant things on the appliance: the log volume is a share, /var/lock is
    // writable by all (here without the sticky bit, so that no kernel protection hides a fault).
    ASSERT_EQ(chmod(kLogVolume, 0777), 0);
    ASSERT_EQ(chmod("/var/lock", 0777), 0);
  }

  // Runs `script` with sh as the unprivileged user nobody, and expects it to succeed.
  static void as_nobody(const std::string& script) {
    CommandResult result = run_as_nobody(script);
    ASSERT_EQ(result.status, 0) << script << "\n" << result.err;
  }

  static std::string log_path(const std::string& relative) {
    return std::string(kLogVolume) + "/" + relative;
  }

  // The one file of `log` below the volume, relative to the log's directory.
  static std::string only_file(const std::string& log) {
    std::vector<std::string> files = log_files(log, kLogVolume);
    EXPECT_EQ(files.size(), 1u);
    return files.empty() ? std::string() : log + "/" + files[0];
  }

  // Nothing outside the tree changed since `before`; the secret kept its mode and bytes, the
  // planted name does not exist, and the victim directory is as it was.
  static void expect_nothing_outside_touched(const Snapshot& before) {
    EXPECT_EQ(outside_of_the_tree(), before);
    EXPECT_EQ(file_mode(kSecret), 0600);
    EXPECT_EQ(read_file(kSecret), "root only\n");
    EXPECT_FALSE(exists(kPlanted));
    EXPECT_EQ(file_mode(kVictimDir), 0755);
    EXPECT_TRUE(list_dir(kVictimDir).empty());
  }

  // The service answers a marked access record and logs it.
  static void expect_serves(const std::string& mark) {
    ASSERT_EQ(exchange(marked_access_record(mark)), kOkAnswer);
    std::vector<std::string> marks = marks_in("accesslog", mark);
    EXPECT_EQ(marks, std::vector<std::string>{mark});
  }

  // An access record that meets a planted thing: answered, not logged, nothing outside touched,
  // and the service serves the next client once the thing is gone (`clean_up` as nobody).
  void expect_access_record_dropped(const std::string& clean_up) {
    const Snapshot before = outside_of_the_tree();
    EXPECT_EQ(exchange(marked_access_record("attack")), kOkAnswer);
    expect_nothing_outside_touched(before);
    as_nobody(clean_up);  // first: the logs are read back only without a FIFO among them
    expect_serves("after");
    EXPECT_TRUE(marks_in("accesslog", "attack").empty());
  }
};

TEST_F(LinkAttack, LinkAtTheCurrentAccessLogFileIsNeitherFollowedNorReplaced) {
  start();
  expect_serves("first");
  const std::string current = log_path(only_file("accesslog"));
  // The link of the report: to a file that does not exist yet in the scripts' directory.
  as_nobody("rm " + current + "; ln -s " + kPlanted + " " + current);
  expect_access_record_dropped("rm " + current);
  // The state still names the same file: the fresh one took the line.
  EXPECT_EQ(log_path(only_file("accesslog")), current);
}

TEST_F(LinkAttack, LinkToAnExistingFileNeitherAppendsNorChmods) {
  start();
  expect_serves("first");
  const std::string current = log_path(only_file("accesslog"));
  as_nobody("rm " + current + "; ln -s " + kSecret + " " + current);
  expect_access_record_dropped("rm " + current);
}

TEST_F(LinkAttack, LinkAtTheCurrentSystemLogFileKeepsTheRecordPending) {
  start();
  ASSERT_EQ(exchange(marked_system_record("first")), kOkAnswer);
  const std::string current = log_path(only_file("systemlog"));
  as_nobody("rm " + current + "; ln -s " + kSecret + " " + current);
  const Snapshot before = outside_of_the_tree();
  EXPECT_EQ(exchange(marked_system_record("pending")), kOkAnswer);
  expect_nothing_outside_touched(before);
  EXPECT_EQ(marks_in("systemlog", ""), std::vector<std::string>{});  // the file is gone
  as_nobody("rm " + current);
  // The record that waited goes first, then the new one.
  EXPECT_EQ(exchange(marked_system_record("next")), kOkAnswer);
  EXPECT_EQ(marks_in("systemlog", ""), (std::vector<std::string>{"pending", "next"}));
}

TEST_F(LinkAttack, LinkAtTheNextFilesNameIsNotFollowed) {
  start();
  expect_serves("first");
  // A system record of a month that has no file yet gets a predictable name: the stamp of its
  // own time.
  const std::string month = log_path("systemlog/" + month_dir(kMarked));
  const std::string next = month + "/system_" + local_text(kMarked, "%Y%m%d%H%M%S") + ".csv";
  as_nobody("mkdir -p " + month + "; ln -s " + kPlanted + " " + next);
  const Snapshot before = outside_of_the_tree();
  EXPECT_EQ(exchange(marked_system_record("pending")), kOkAnswer);
  expect_nothing_outside_touched(before);
  as_nobody("rm " + next);
  EXPECT_EQ(exchange(marked_system_record("next")), kOkAnswer);
  EXPECT_EQ(marks_in("systemlog", ""), (std::vector<std::string>{"pending", "next"}));
}

TEST_F(LinkAttack, LinkAtAMonthDirectoryIsNotEntered) {
  start();
  // A record of the present makes the system log's directory.
  ASSERT_EQ(exchange(system_record(std::to_string(time(nullptr)), "first", "x", "y")), kOkAnswer);
  const std::string month = log_path("systemlog/" + month_dir(kMarked));
  as_nobody(std::string("ln -s ") + kVictimDir + " " + month);
  const Snapshot before = outside_of_the_tree();
  EXPECT_EQ(exchange(marked_system_record("pending")), kOkAnswer);
  expect_nothing_outside_touched(before);
  as_nobody("rm " + month);
  EXPECT_EQ(exchange(marked_system_record("next")), kOkAnswer);
  // By file: the month of the marked records comes first.
  EXPECT_EQ(marks_in("systemlog", ""), (std::vector<std::string>{"pending", "next", "first"}));
  // The month directory the service made itself has the full mode.
  EXPECT_EQ(file_mode(month), 0777);
}

TEST_F(LinkAttack, LinkAtAKindDirectoryIsNotEntered) {
  as_nobody(std::string("ln -s ") + kVictimDir + " " + log_path("accesslog"));
  start();
  expect_access_record_dropped("rm " + log_path("accesslog"));
  EXPECT_EQ(file_mode(log_path("accesslog")), 0777);
}

TEST_F(LinkAttack, FifoAtTheCurrentFileDoesNotHoldTheService) {
  start();
  expect_serves("first");
  const std::string current = log_path(only_file("accesslog"));
  as_nobody("rm " + current + "; mkfifo -m 666 " + current);
  expect_access_record_dropped("rm " + current);
}

TEST_F(LinkAttack, HardLinkAtTheCurrentFileTakesNoLine) {
  start();
  expect_serves("first");
  const std::string current = log_path(only_file("accesslog"));
  // A hard link to another user's file; the kernel keeps users from linking root's files, so
  // the test makes it as root, as on a system without that protection.
  ASSERT_EQ(unlink(current.c_str()), 0);
  ASSERT_EQ(link(kSecret, current.c_str()), 0);
  const Snapshot before = outside_of_the_tree();
  EXPECT_EQ(exchange(marked_access_record("attack")), kOkAnswer);
  expect_nothing_outside_touched(before);
  ASSERT_EQ(unlink(current.c_str()), 0);
  expect_serves("after");
}

TEST_F(LinkAttack, ExpiryNeitherFollowsNorDeletesLinks) {
  // Expiry at every line; files older than a day go.
  Settings settings;
  settings.access_autodelete =
      "<autodelete enable=\"true\"><expire><days>1</days><percent>100</percent></expire>"
      "</autodelete>";
  write_settings(settings);
  // A victim file of a log name in a directory of root's, reached through a linked month
  // directory, and a linked log file in a real old month; beside them an old regular file that
  // must go.
  write_file(std::string(kVictimDir) + "/access_20090101000000.csv", "keep\n", 0644);
  const std::string old_month = log_path("accesslog/201001");
  make_dirs(old_month);
  ASSERT_EQ(chmod(old_month.c_str(), 0777), 0);
  ASSERT_EQ(chmod(log_path("accesslog").c_str(), 0777), 0);
  write_file(old_month + "/access_20100102000000.csv", "old\r\n", 0666);
  as_nobody(std::string("ln -s ") + kVictimDir + " " + log_path("accesslog/200901") + "; ln -s " +
            kSecret + " " + old_month + "/access_20100101000000.csv");
  start();
  const Snapshot before = outside_of_the_tree();
  expect_serves("first");
  EXPECT_EQ(outside_of_the_tree(), before);
  EXPECT_EQ(read_file(std::string(kVictimDir) + "/access_20090101000000.csv"), "keep\n");
  EXPECT_EQ(read_file(kSecret), "root only\n");
  // The links stay, and the old regular file went.
  EXPECT_EQ(list_dir(old_month), std::vector<std::string>{"access_20100101000000.csv"});
  struct stat st;
  EXPECT_EQ(lstat(log_path("accesslog/200901").c_str(), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  expect_serves("after");
}

TEST_F(LinkAttack, LinkAtAStateFileIsNeitherReadNorWritten) {
  // The state directory is root's; a link there stands for one left by anyone who could.
  const std::string state = std::string(paths::kStateDir) + "/access_info";
  const std::string target = "/mnt/data/state-target";
  ASSERT_EQ(symlink(target.c_str(), state.c_str()), 0);
  start();
  const Snapshot before = outside_of_the_tree();
  // Without readable state, the line goes to a fresh file, and the state is not saved.
  expect_serves("first");
  EXPECT_EQ(outside_of_the_tree(), before);
  EXPECT_FALSE(exists(target));
  struct stat st;
  ASSERT_EQ(lstat(state.c_str(), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  expect_serves("after");
}

TEST_F(LinkAttack, LinkAtTheLockFileIsNotFollowed) {
  // A rule that fires at every access record, and a batch that is due at once.
  Settings settings;
  settings.alerts = alert_rule("watch");
  write_settings(settings);
  install_notice_stubs();
  write_mail_profiles(mail_profile(true, {"a@example.com"}));
  const std::string target = "/mnt/data/lock-target";
  as_nobody(std::string("ln -s ") + target + " " + paths::kNoticeSettingsLock);
  DaemonProcess& daemon = start();
  const Snapshot before = outside_of_the_tree();
  for (int i = 0; i < 1024; ++i) {
    ASSERT_EQ(exchange(marked_access_record("hit" + std::to_string(i))), kOkAnswer);
  }
  // The alert is raised and the buzzer sounds; the notice settings cannot be read under a lock
  // that cannot be opened, so no mail goes and the alert ends there.
  ASSERT_EQ(wait_for_requests(paths::kBuzzerScript, 1, 120s).size(), 1u);
  ASSERT_TRUE(daemon.wait_for_stdout("alert_thread: try send mail\n"));
  // The alert is over when the thread waits again after it.
  for (auto deadline = std::chrono::steady_clock::now() + 120s;;) {
    const std::string out = daemon.stdout_text();
    if (out.find("alert_thread: waiting.\n", out.find("try send mail")) != std::string::npos) {
      break;
    }
    ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    std::this_thread::sleep_for(50ms);
  }
  EXPECT_TRUE(recorded_requests(paths::kMailScript).empty());
  EXPECT_FALSE(exists(target));
  EXPECT_EQ(outside_of_the_tree(), before);
  expect_serves("after");
}

}  // namespace
}  // namespace sarvik::testing
