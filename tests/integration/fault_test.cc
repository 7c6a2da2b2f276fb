// Faults of the volume and of the settings end to end: a log volume that goes away and comes
// back, one that is full, one that is read-only, and a settings file broken behind the service's
// back. Each time the service keeps serving, loses no record it is not meant to lose, and keeps
// no descriptor open.
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "harness/fault_fixture.h"
#include "harness/records.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"

namespace sarvik::testing {
namespace {

// Where the log volume's files live while it is not mounted on the log directory.
constexpr char kVolumeStore[] = "/mnt/volume";

using VolumeFault = FaultTest;
using SettingsFault = FaultTest;

// Sends a system and an access record for each of `count` marks "<prefix><n>".
void send_both(const std::string& prefix, int count) {
  for (int i = 0; i < count; ++i) {
    std::string mark = prefix + std::to_string(i);
    EXPECT_EQ(exchange(marked_system_record(mark)), kOkAnswer) << mark;
    EXPECT_EQ(exchange(marked_access_record(mark)), kOkAnswer) << mark;
  }
}

// Fills the file system of `path` with that one file until a write fails for want of space.
void fill_up(const std::string& path) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ASSERT_GE(fd, 0) << strerror(errno);
  std::string block(4096, 'x');
  while (write(fd, block.data(), block.size()) > 0) {
  }
  EXPECT_EQ(errno, ENOSPC);
  close(fd);
}

// Every text of `marks` stands exactly once in the text of `log`, between commas, in this order.
// A line cut short by a full volume can run into the next one, so the text is searched rather
// than split into lines.
void expect_once_in_order(const std::string& log, const std::vector<std::string>& marks) {
  std::string text;
  for (const std::string& file : log_files(log, kLogVolume)) {
    text += read_file(std::string(kLogVolume) + "/" + log + "/" + file);
  }
  size_t last = 0;
  for (const std::string& mark : marks) {
    std::string needle = "," + mark + ",";
    size_t at = text.find(needle);
    ASSERT_NE(at, std::string::npos) << mark << " is missing";
    EXPECT_EQ(text.find(needle, at + 1), std::string::npos) << mark << " stands twice";
    EXPECT_GE(at, last) << mark << " is out of order";
    last = at;
  }
}

TEST_F(VolumeFault, VolumeThatGoesAwayKeepsSystemRecordsUntilItIsBack) {
  // The log directory is a bind mount of a volume kept elsewhere: unmounting it and removing the
  // mount point makes the volume vanish, and mounting it again brings back the same files.
  std::string why;
  make_dirs(kVolumeStore);
  ASSERT_TRUE(mount_tmpfs(kVolumeStore, 0, &why)) << why;
  ASSERT_EQ(mount(kVolumeStore, kLogVolume, nullptr, MS_BIND, nullptr), 0) << strerror(errno);
  start();
  send_both("before-", 3);
  ASSERT_EQ(umount(kLogVolume), 0) << strerror(errno);
  ASSERT_EQ(rmdir(kLogVolume), 0) << strerror(errno);
  send_both("away-", 5);
  EXPECT_FALSE(exists(kLogVolume));  // nothing is made in the volume's place
  make_dirs(kLogVolume);
  ASSERT_EQ(mount(kVolumeStore, kLogVolume, nullptr, MS_BIND, nullptr), 0) << strerror(errno);
  send_both("back-", 2);
  // The waiting system records come with the next one, in order; access records of the outage
  // are dropped, as the service does with any access record it cannot write.
  EXPECT_EQ(marks_in("systemlog", ""),
            joined({numbered("before-", 3), numbered("away-", 5), numbered("back-", 2)}));
  EXPECT_EQ(marks_in("accesslog", ""), joined({numbered("before-", 3), numbered("back-", 2)}));
}

TEST_F(VolumeFault, FullVolumeLosesLinesButTheServiceStaysUpAndAnswers) {
  std::string why;
  ASSERT_TRUE(mount_tmpfs(kLogVolume, 1024, &why)) << why;
  DaemonProcess& daemon = start();
  send_both("before-", 2);
  std::string filler = std::string(kLogVolume) + "/filler";
  fill_up(filler);
  // A write that finds no room still counts as written: the records are lost, not kept.
  send_both("full-", 50);
  EXPECT_FALSE(daemon.wait_exit(0ms).has_value());
  ASSERT_EQ(unlink(filler.c_str()), 0);
  send_both("room-", 3);
  for (const char* log : {"systemlog", "accesslog"}) {
    SCOPED_TRACE(log);
    expect_once_in_order(log, joined({numbered("before-", 2), numbered("room-", 3)}));
    // What got through while the volume was full stands at most once, in order.
    std::vector<std::string> full = marks_in(log, "full-");
    EXPECT_TRUE(std::is_sorted(full.begin(), full.end(), [](auto& a, auto& b) {
      return std::stoi(a.substr(5)) < std::stoi(b.substr(5));
    }));
    EXPECT_EQ(std::adjacent_find(full.begin(), full.end()), full.end());
  }
}

TEST_F(VolumeFault, ReadOnlyVolumeKeepsSystemRecordsUntilItIsWritable) {
  std::string why;
  ASSERT_TRUE(mount_tmpfs(kLogVolume, 0, &why)) << why;
  start();
  send_both("before-", 2);
  ASSERT_EQ(mount("tmpfs", kLogVolume, "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0)
      << strerror(errno);
  send_both("read-only-", 4);
  ASSERT_EQ(mount("tmpfs", kLogVolume, "tmpfs", MS_REMOUNT, nullptr), 0) << strerror(errno);
  send_both("writable-", 2);
  EXPECT_EQ(marks_in("systemlog", ""),
            joined({numbered("before-", 2), numbered("read-only-", 4), numbered("writable-", 2)}));
  EXPECT_EQ(marks_in("accesslog", ""), joined({numbered("before-", 2), numbered("writable-", 2)}));
}

TEST_F(SettingsFault, BrokenSettingsFileStopsLoggingUntilAReloadHealsIt) {
  DaemonProcess& daemon = start();
  const std::string good = Settings().to_xml();
  const std::vector<std::string> broken{
      good.substr(0, good.size() / 2),          // cut off while being written
      "",                                       // emptied
      std::string("\x00\xff\xfe garbage", 11),  // not text at all
      "<config><share><path>",                  // unfinished
  };
  for (size_t i = 0; i < broken.size(); ++i) {
    SCOPED_TRACE(i);
    write_settings_text(broken[i]);
    daemon.send_signal(SIGHUP);
    // The reload fails: this client and every one until a good reload get no answer, and each
    // failure is reported.
    EXPECT_EQ(exchange(marked_system_record("broken-" + std::to_string(i))), "");
    EXPECT_EQ(exchange(marked_access_record("broken-" + std::to_string(i))), "");
    EXPECT_TRUE(daemon.wait_for_stderr("Error: ", 10s, static_cast<int>(2 * i + 2)));
    write_settings_text(good);
    daemon.send_signal(SIGHUP);
    EXPECT_EQ(exchange(marked_system_record("healed-" + std::to_string(i))), kOkAnswer);
    EXPECT_EQ(exchange(marked_access_record("healed-" + std::to_string(i))), kOkAnswer);
  }
  // A settings file that is gone altogether fails the same way.
  ASSERT_EQ(unlink(paths::kSettings), 0);
  daemon.send_signal(SIGHUP);
  EXPECT_EQ(exchange(marked_system_record("missing")), "");
  write_settings_text(good);
  daemon.send_signal(SIGHUP);
  EXPECT_EQ(exchange(marked_system_record("healed-4")), kOkAnswer);
  EXPECT_EQ(marks_in("systemlog", ""), numbered("healed-", 5));
  EXPECT_EQ(marks_in("accesslog", ""), numbered("healed-", 4));
}

}  // namespace
}  // namespace sarvik::testing
