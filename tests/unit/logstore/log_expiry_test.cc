// Tests of the expiry pass: the free-space gate and the age of each file.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "local_time.h"
#include "logstore/log_file.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

using ::sarvik::testing::exists;
using ::sarvik::testing::list_dir;
using ::sarvik::testing::local_time;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;
using Names = std::vector<std::string>;

constexpr char kBom[] = "\xEF\xBB\xBF";
constexpr char kOldFile[] = "201601/system_20160101000000.csv";

// The free space that the volume of the logs reports, in percent, and the path it was asked about
// last; set by each test (all free at its start).
uint64_t free_now = 100;
std::string asked_about;

uint64_t fake_free_space(const std::string& path) {
  asked_about = path;
  return free_now;
}

// Each test gets a temporary directory as the volume of the logs, whose free space it sets. Log
// files are made empty.
class LogExpiry : public ::testing::Test {
 protected:
  void SetUp() override {
    free_now = 100;
    asked_about.clear();
    tmp = std::make_unique<TempDir>();
    vol = *tmp / "vol";
    root = vol + "/systemlog";
    make_dirs(root);
  }

  // The system log on the test's volume; its free space comes from free_now once the caller
  // hands it fake_free_space.
  LogFile system_log() { return LogFile(vol, "systemlog", "system_", ".csv", tmp->path()); }
  // One line through a fresh object with `settings`, as a request handler writes it.
  void write_with(const AutoDelete& settings, time_t when) {
    LogFile log = system_log();
    log.free_space = fake_free_space;
    log.free_space = fake_free_space;
    log.auto_delete = settings;
    log.write_line(when, "x");
  }
  // An empty file at `relative` below the log root, its directories made as needed.
  void put(const std::string& relative) {
    std::string path = root + "/" + relative;
    make_dirs(path.substr(0, path.rfind('/')));
    write_file(path, "", 0666);
  }
  bool has(const std::string& relative) const { return exists(root + "/" + relative); }

  ScopedTimeZone zone{::sarvik::testing::kUtc};
  std::unique_ptr<TempDir> tmp;
  std::string vol;
  std::string root;
};

TEST_F(LogExpiry, FreeSpaceExactlyAtPercentRunsThePassAndOnePointMoreSkipsIt) {
  free_now = 51;
  const time_t when = local_time(2017, 4, 20, 12);
  struct Case {
    int offset;  // percent minus the free percentage
    bool deleted;
  };
  for (Case c : {Case{-1, false}, Case{0, true}, Case{1, true}}) {
    put(kOldFile);
    long free = static_cast<long>(free_now);
    LogFile log = system_log();
    log.free_space = fake_free_space;
    log.free_space = fake_free_space;
    log.auto_delete = AutoDelete{true, 30, static_cast<int32_t>(free + c.offset)};
    ASSERT_EQ(log.write_line(when, "x"), 0);
    EXPECT_EQ(has(kOldFile), !c.deleted) << "free " << free << " offset " << c.offset;
    EXPECT_EQ(asked_about, root);  // the volume of the log's own directory
  }
}

TEST_F(LogExpiry, PercentZeroRunsOnlyOnAFullVolume) {
  const time_t when = local_time(2017, 4, 20, 12);
  put(kOldFile);
  free_now = 1;
  write_with(AutoDelete{true, 30, 0}, when);
  EXPECT_TRUE(has(kOldFile));

  free_now = 0;
  write_with(AutoDelete{true, 30, 0}, when);
  EXPECT_FALSE(has(kOldFile));
}

TEST_F(LogExpiry, PercentHundredRunsEvenOnAnEmptyVolumeAndNinetyNineDoesNot) {
  const time_t when = local_time(2017, 4, 20, 12);
  put(kOldFile);
  write_with(AutoDelete{true, 30, 99}, when);
  EXPECT_TRUE(has(kOldFile));

  put("201601/system_20160102000000.csv");
  free_now = 99;
  write_with(AutoDelete{true, 30, 100}, when);
  EXPECT_FALSE(has(kOldFile));
  EXPECT_FALSE(has("201601/system_20160102000000.csv"));
}

TEST_F(LogExpiry, DisabledExpiryKeepsOldFilesEvenOnAFullVolume) {
  put(kOldFile);
  free_now = 0;
  write_with(AutoDelete{false, 0, 100}, local_time(2017, 4, 20, 12));
  EXPECT_TRUE(has(kOldFile));
}

TEST_F(LogExpiry, DaysZeroDeletesTheCurrentFileWhichComesBackFreshInTheSameWrite) {
  const time_t when = local_time(2017, 4, 20, 12);
  put("201704/system_20170401000000.csv");
  put("201704/system_20170420120001.csv");  // one second in the future of the first line
  LogFile log = system_log();
  log.free_space = fake_free_space;
  log.auto_delete = AutoDelete{true, 0, 100};
  ASSERT_EQ(log.write_line(when, "one"), 0);
  EXPECT_EQ(read_file(root + "/201704/system_20170420120000.csv"), std::string(kBom) + "one\r\n");
  EXPECT_FALSE(has("201704/system_20170401000000.csv"));
  EXPECT_TRUE(has("201704/system_20170420120001.csv"));

  ASSERT_EQ(log.write_line(when + 10, "two"), 0);  // the pass unlinks the open current file
  EXPECT_EQ(read_file(root + "/201704/system_20170420120000.csv"), std::string(kBom) + "two\r\n");
  EXPECT_EQ(read_file(tmp->path() + "/system_info"), "system_20170420120000.csv\n1\n");
  EXPECT_FALSE(has("201704/system_20170420120001.csv"));  // no longer in the future
}

TEST_F(LogExpiry, AgeIsTruncatedToWholeDays) {
  const time_t when = local_time(2017, 4, 20, 12);
  put("201703/system_20170321130000.csv");  // 29 days 23 hours
  put("201703/system_20170321120000.csv");  // 30 days
  put("201703/system_20170201000000.csv");  // an older name in a younger directory still goes
  write_with(AutoDelete{true, 30, 100}, when);
  EXPECT_TRUE(has("201703/system_20170321130000.csv"));
  EXPECT_FALSE(has("201703/system_20170321120000.csv"));
  EXPECT_FALSE(has("201703/system_20170201000000.csv"));
}

TEST_F(LogExpiry, MonthDirectoryIsEnteredOnlyWhenItsFirstDayIsOldEnough) {
  put("201704/system_20170101000000.csv");  // April's first day is 19 days old
  write_with(AutoDelete{true, 30, 100}, local_time(2017, 4, 20, 12));
  EXPECT_TRUE(has("201704/system_20170101000000.csv"));
}

TEST_F(LogExpiry, FutureStampsStayWhateverTheDays) {
  put("201705/system_20170101000000.csv");  // a directory of a month to come is not entered
  put("201704/system_20170421000000.csv");
  put("201704/system_20170420115959.csv");
  write_with(AutoDelete{true, 0, 100}, local_time(2017, 4, 20, 12));
  EXPECT_TRUE(has("201705/system_20170101000000.csv"));
  EXPECT_TRUE(has("201704/system_20170421000000.csv"));
  EXPECT_FALSE(has("201704/system_20170420115959.csv"));
}

TEST_F(LogExpiry, OnlyThisLogsNamesWithAnAcceptedDateGo) {
  const Names stay = {
      "access_20170301000000.csv",
      "system_20170301000000.txt",
      "system_20170301000000.csv.bak",
      "System_20170301000000.csv",
      "system_2017030100.csv",
      "system_2017.csv",
      "system_.csv",
      "x_system_20170301000000.csv",
  };
  for (const std::string& name : stay) put("201703/" + name);
  put("201703/system_20170301000000.csv");
  put("201703/system_201703010000009.csv");  // fifteen digits: the first fourteen count
  make_dirs(root + "/201703/system_20170301000001.csv");  // cannot be unlinked; passed over
  write_with(AutoDelete{true, 30, 100}, local_time(2017, 4, 20, 12));
  Names left = stay;
  left.push_back("system_20170301000001.csv");
  std::sort(left.begin(), left.end());
  EXPECT_EQ(list_dir(root + "/201703"), left);
}

TEST_F(LogExpiry, PlainFilesInTheLogRootArePassedOver) {
  put("system_20160101000000.csv");
  put("201601");
  write_with(AutoDelete{true, 0, 100}, local_time(2017, 4, 20, 12));
  EXPECT_TRUE(has("system_20160101000000.csv"));
  EXPECT_TRUE(has("201601"));
}

TEST_F(LogExpiry, DirectoriesWithoutAnAcceptedDigitRunAreLeftAlone) {
  const Names wrong = {"20160", "2016011", "2016", "backup", "system_2016"};
  for (const std::string& dir : wrong) put(dir + "/system_20160101000000.csv");
  put("archive_201601/system_20160101000000.csv");  // six digits anywhere make a month
  write_with(AutoDelete{true, 30, 100}, local_time(2017, 4, 20, 12));
  for (const std::string& dir : wrong) {
    EXPECT_TRUE(has(dir + "/system_20160101000000.csv")) << dir;
  }
  EXPECT_FALSE(has("archive_201601/system_20160101000000.csv"));
}

TEST_F(LogExpiry, SixDigitFileNameCountsAsTheFirstOfItsMonth) {
  put("201703/system_201703.csv");          // 1 March: exactly 30 days
  put("201703/system_20170302000000.csv");  // 29 days
  write_with(AutoDelete{true, 30, 100}, local_time(2017, 3, 31));
  EXPECT_FALSE(has("201703/system_201703.csv"));
  EXPECT_TRUE(has("201703/system_20170302000000.csv"));
}

TEST_F(LogExpiry, EmptiedAndEmptyMonthDirectoriesStay) {
  put(kOldFile);
  make_dirs(root + "/201512");
  write_with(AutoDelete{true, 30, 100}, local_time(2017, 4, 20, 12));
  EXPECT_EQ(list_dir(root + "/201601"), Names{});
  EXPECT_EQ(list_dir(root), (Names{"201512", "201601", "201704"}));
}

TEST_F(LogExpiry, AlertLogWithoutSettingsNeverExpires) {
  put("../alertlog/201601/alert_20160101000000.csv");
  free_now = 0;
  LogFile alert(vol, "alertlog", "alert_", ".csv", tmp->path());
  alert.free_space = fake_free_space;
  alert.write_line(local_time(2017, 4, 20, 12), "x");
  EXPECT_TRUE(exists(vol + "/alertlog/201601/alert_20160101000000.csv"));
}

// A day is 86400 seconds: across the change to summer time thirty calendar days are one hour
// short of thirty days.
TEST_F(LogExpiry, DaylightSavingChangeIsNotCompensated) {
  ScopedTimeZone central_europe(::sarvik::testing::kBerlin);
  put("201703/system_20170321120000.csv");  // 29 days 23 hours before noon of 20 April
  put("201703/system_20170321110000.csv");  // 30 days
  write_with(AutoDelete{true, 30, 100}, local_time(2017, 4, 20, 12));
  EXPECT_TRUE(has("201703/system_20170321120000.csv"));
  EXPECT_FALSE(has("201703/system_20170321110000.csv"));
}

}  // namespace
}  // namespace sarvik
