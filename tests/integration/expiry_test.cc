// Expiry end to end: old files go only while the log volume is short of space.
#include <sys/statfs.h>

#include <gtest/gtest.h>

#include <ctime>

#include "harness/records.h"
#include "harness/service_test.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"

namespace sarvik::testing {
namespace {

// The log volume is a tmpfs of its own, 64 MiB, holding an old file of each log (dated
// 2010/01/01) and filled until 50.5 % of it is free: the free percentage reads 50, and the few
// blocks the service writes do not move it.
class Expiry : public ServiceTest {
 protected:
  static constexpr int kFreePercent = 50;

  void SetUp() override {
    ServiceTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    std::string why;
    ASSERT_TRUE(mount_tmpfs(kLogVolume, 64 * 1024, &why)) << why;
    old_system = old_file("systemlog", "system_");
    old_access = old_file("accesslog", "access_");
    struct statfs volume;
    ASSERT_EQ(statfs(kLogVolume, &volume), 0);
    uint64_t wanted_free = volume.f_blocks * 505 / 1000;
    write_file(std::string(kLogVolume) + "/filler",
               std::string((volume.f_bfree - wanted_free) * volume.f_bsize, 'x'));
    ASSERT_EQ(statfs(kLogVolume, &volume), 0);
    ASSERT_EQ(volume.f_bfree * 100 / volume.f_blocks, uint64_t{kFreePercent});
  }

  // Settings with expiry of both logs after `days` days at or below `percent` per cent free.
  static Settings with_expiry(int days, int percent) {
    std::string branch = "<autodelete enable=\"true\"><expire><days>" + std::to_string(days) +
                         "</days><percent>" + std::to_string(percent) +
                         "</percent></expire></autodelete>";
    Settings settings;
    settings.event_autodelete = branch;
    settings.access_autodelete = branch;
    return settings;
  }

  static std::string old_file(const std::string& log, const std::string& prefix) {
    std::string dir = std::string(kLogVolume) + "/" + log + "/201001";
    make_dirs(dir);
    std::string path = dir + "/" + prefix + "20100101000000.csv";
    write_file(path, "\xEF\xBB\xBFold\r\n");
    return path;
  }

  std::string old_system;
  std::string old_access;
};

TEST_F(Expiry, OldFilesGoWhenFreeSpaceIsAtTheThreshold) {
  write_settings(with_expiry(30, kFreePercent));
  start_service();
  time_t now = time(nullptr);
  EXPECT_EQ(exchange(system_record(std::to_string(now), "a", "b", "c")), kOkAnswer);
  EXPECT_EQ(exchange(access_record("u", "h", "i", "op", 1, 0, "docs", "p")), kOkAnswer);
  EXPECT_FALSE(exists(old_system));
  EXPECT_FALSE(exists(old_access));
  EXPECT_TRUE(exists(std::string(kLogVolume) + "/systemlog/201001"));  // month directories stay
  EXPECT_EQ(log_lines("systemlog", kLogVolume).size(), 1u);
  EXPECT_EQ(log_lines("accesslog", kLogVolume).size(), 1u);
}

TEST_F(Expiry, OldFilesStayWhileThereIsRoom) {
  write_settings(with_expiry(30, kFreePercent - 1));
  start_service();
  EXPECT_EQ(exchange(system_record(std::to_string(time(nullptr)), "a", "b", "c")), kOkAnswer);
  EXPECT_EQ(exchange(access_record("u", "h", "i", "op", 1, 0, "docs", "p")), kOkAnswer);
  EXPECT_TRUE(exists(old_system));
  EXPECT_TRUE(exists(old_access));
}

TEST_F(Expiry, ExpiryOffKeepsEverythingOnAFullVolume) {
  Settings settings = with_expiry(0, 100);
  settings.event_autodelete =
      "<autodelete enable=\"false\"><expire><days>0</days>"
      "<percent>100</percent></expire></autodelete>";
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(system_record(std::to_string(time(nullptr)), "a", "b", "c")), kOkAnswer);
  EXPECT_TRUE(exists(old_system));
}

TEST_F(Expiry, ZeroDaysDeletesTheCurrentFileAndTheLineGoesToAFreshOne) {
  write_settings(with_expiry(0, 100));
  start_service();
  time_t now = time(nullptr);
  EXPECT_EQ(exchange(system_record(std::to_string(now - 10), "first", "b", "c")), kOkAnswer);
  EXPECT_EQ(exchange(system_record(std::to_string(now), "second", "b", "c")), kOkAnswer);
  // The first line's file was deleted before the second line; the second went to a fresh file
  // of the same name, opened by a byte-order mark.
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            std::vector<std::string>{record_time(now) + ",second,b,c"});
  EXPECT_EQ(read_file(std::string(paths::kStateDir) + "/system_info").substr(0, 7), "system_");
}

}  // namespace
}  // namespace sarvik::testing
