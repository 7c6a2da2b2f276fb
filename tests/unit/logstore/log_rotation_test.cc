// Tests of the choice of log file: by month, by line count, and healing of missing files.
#include <gtest/gtest.h>

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
using ::sarvik::testing::remove_tree;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;
using Names = std::vector<std::string>;

constexpr char kBom[] = "\xEF\xBB\xBF";

class LogRotation : public ::testing::Test {
 protected:
  LogRotation() : base(tmp / "vol"), state(tmp / "state"), root(base + "/systemlog") {
    make_dirs(base);
    make_dirs(state);
  }

  LogFile system_log() { return LogFile(base, "systemlog", "system_", ".csv", state); }
  std::string info() const { return read_file(state + "/system_info"); }
  void set_info(const std::string& text) { write_file(state + "/system_info", text); }
  // A log file as an earlier run left it.
  void put_file(const std::string& month, const std::string& name, const std::string& text) {
    make_dirs(root + "/" + month);
    write_file(root + "/" + month + "/" + name, text, 0666);
  }

  ScopedTimeZone zone{::sarvik::testing::kUtc};
  TempDir tmp;
  std::string base;
  std::string state;
  std::string root;
};

TEST_F(LogRotation, NewMonthOpensNewFileInNewMonthDirectory) {
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 31, 23, 59, 59), "march"), 0);
  ASSERT_EQ(log.write_line(local_time(2017, 3, 31, 23, 59, 59), "march again"), 0);
  EXPECT_EQ(info(), "system_20170331235959.csv\n2\n");
  ASSERT_EQ(log.write_line(local_time(2017, 4, 1), "april"), 0);
  EXPECT_EQ(info(), "system_20170401000000.csv\n1\n");
  EXPECT_EQ(list_dir(root), (Names{"201703", "201704"}));
  EXPECT_EQ(read_file(root + "/201703/system_20170331235959.csv"),
            std::string(kBom) + "march\r\nmarch again\r\n");
  EXPECT_EQ(read_file(root + "/201704/system_20170401000000.csv"), std::string(kBom) + "april\r\n");
}

TEST_F(LogRotation, NewMonthIsFoundThroughTheStateFileToo) {
  {
    LogFile march = system_log();
    ASSERT_EQ(march.write_line(local_time(2017, 3, 4, 12, 34, 56), "march"), 0);
  }
  LogFile april = system_log();
  ASSERT_EQ(april.write_line(local_time(2017, 4, 2, 8), "april"), 0);
  EXPECT_EQ(info(), "system_20170402080000.csv\n1\n");
  EXPECT_EQ(list_dir(root + "/201704"), (Names{"system_20170402080000.csv"}));
}

TEST_F(LogRotation, LineOfAPastMonthGoesToANewFileInThatMonth) {
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 4, 10), "april"), 0);
  ASSERT_EQ(log.write_line(local_time(2017, 2, 20, 6), "late february"), 0);
  EXPECT_EQ(info(), "system_20170220060000.csv\n1\n");
  EXPECT_EQ(read_file(root + "/201702/system_20170220060000.csv"),
            std::string(kBom) + "late february\r\n");
  ASSERT_EQ(log.write_line(local_time(2017, 4, 10, 0, 0, 5), "april again"), 0);
  EXPECT_EQ(info(), "system_20170410000005.csv\n1\n");
  EXPECT_EQ(list_dir(root + "/201704"),
            (Names{"system_20170410000000.csv", "system_20170410000005.csv"}));
}

TEST_F(LogRotation, Line65535StaysInTheCurrentFile) {
  put_file("201703", "system_20170304123456.csv", std::string(kBom) + "old\r\n");
  set_info("system_20170304123456.csv\n65534\n");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 20), "last"), 0);
  EXPECT_EQ(info(), "system_20170304123456.csv\n65535\n");
  EXPECT_EQ(read_file(root + "/201703/system_20170304123456.csv"),
            std::string(kBom) + "old\r\nlast\r\n");
}

TEST_F(LogRotation, NewFileAfter65535LinesInTheSameMonthDirectory) {
  put_file("201703", "system_20170304123456.csv", std::string(kBom) + "old\r\n");
  set_info("system_20170304123456.csv\n65535\n");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 20, 1, 2, 3), "first of the next"), 0);
  EXPECT_EQ(info(), "system_20170320010203.csv\n1\n");
  EXPECT_EQ(list_dir(root + "/201703"),
            (Names{"system_20170304123456.csv", "system_20170320010203.csv"}));
  EXPECT_EQ(read_file(root + "/201703/system_20170320010203.csv"),
            std::string(kBom) + "first of the next\r\n");
  EXPECT_EQ(read_file(root + "/201703/system_20170304123456.csv"), std::string(kBom) + "old\r\n");
}

TEST_F(LogRotation, LineWithTheStampOfAFullFileKeepsCountingPastTheLimit) {
  put_file("201703", "system_20170304123456.csv", std::string(kBom) + "old\r\n");
  set_info("system_20170304123456.csv\n65535\n");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 4, 12, 34, 56), "same second"), 0);
  EXPECT_EQ(info(), "system_20170304123456.csv\n65536\n");
  ASSERT_EQ(log.write_line(local_time(2017, 3, 4, 12, 34, 56), "still"), 0);
  EXPECT_EQ(info(), "system_20170304123456.csv\n65537\n");
  EXPECT_EQ(list_dir(root + "/201703"), (Names{"system_20170304123456.csv"}));
}

TEST_F(LogRotation, NameWithFourDigitsInStateFileGetsAFreshName) {
  put_file("201703", "system_2017.csv", "");
  set_info("system_2017.csv\n3\n");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 4), "x"), 0);
  EXPECT_EQ(info(), "system_20170304000000.csv\n1\n");
  EXPECT_EQ(read_file(root + "/201703/system_2017.csv"), "");
}

TEST_F(LogRotation, NameWithAnImpossibleMonthGetsAFreshName) {
  set_info("system_20171304000000.csv\n3\n");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 4), "x"), 0);
  EXPECT_EQ(info(), "system_20170304000000.csv\n1\n");
}

TEST_F(LogRotation, StateNamingAFileInADeletedMonthDirectoryRecreatesBoth) {
  set_info("system_20170304123456.csv\n40\n");
  ASSERT_FALSE(exists(root + "/201703"));
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 10), "back"), 0);
  EXPECT_EQ(info(), "system_20170304123456.csv\n1\n");
  EXPECT_EQ(read_file(root + "/201703/system_20170304123456.csv"), std::string(kBom) + "back\r\n");
}

TEST_F(LogRotation, DigitRunLongerThan14IsReadByItsFirst14Digits) {
  put_file("201703", "system_201703041234567890.csv", std::string(kBom) + "old\r\n");
  set_info("system_201703041234567890.csv\n7\n");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 30), "same file"), 0);
  EXPECT_EQ(info(), "system_201703041234567890.csv\n8\n");
  EXPECT_EQ(read_file(root + "/201703/system_201703041234567890.csv"),
            std::string(kBom) + "old\r\nsame file\r\n");
}

TEST_F(LogRotation, DeletedCurrentFileComesBackWithAFreshByteOrderMark) {
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(local_time(2017, 3, 4), "one"), 0);
  ASSERT_EQ(log.write_line(local_time(2017, 3, 4), "two"), 0);
  std::string path = root + "/201703/system_20170304000000.csv";
  ASSERT_EQ(unlink(path.c_str()), 0);  // while the stream still has it open
  ASSERT_EQ(log.write_line(local_time(2017, 3, 5), "three"), 0);
  EXPECT_EQ(read_file(path), std::string(kBom) + "three\r\n");
  EXPECT_EQ(info(), "system_20170304000000.csv\n1\n");

  remove_tree(root);  // and by a later object, month directory and all
  LogFile later = system_log();
  ASSERT_EQ(later.write_line(local_time(2017, 3, 6), "four"), 0);
  EXPECT_EQ(read_file(path), std::string(kBom) + "four\r\n");
  EXPECT_EQ(info(), "system_20170304000000.csv\n1\n");
}

// Months are local months: in summer time a line at 22:30 UTC on the 30th of June is in July.
TEST(LogRotationZones, MonthDirectoryAndNameFollowTheLocalZone) {
  TempDir tmp;
  make_dirs(tmp / "vol");
  const time_t june30th_2230_utc = 1498861800;
  {
    ScopedTimeZone zone(::sarvik::testing::kBerlin);
    LogFile log(tmp / "vol", "systemlog", "system_", ".csv", tmp.path());
    ASSERT_EQ(log.write_line(june30th_2230_utc, "x"), 0);
    EXPECT_EQ(read_file(tmp / "system_info"), "system_20170701003000.csv\n1\n");
    EXPECT_TRUE(exists(tmp / "vol/systemlog/201707/system_20170701003000.csv"));
  }
  {
    ScopedTimeZone zone(::sarvik::testing::kUtc);  // the same instant is still June here
    LogFile log(tmp / "vol", "systemlog", "system_", ".csv", tmp.path());
    ASSERT_EQ(log.write_line(june30th_2230_utc, "y"), 0);
    EXPECT_EQ(read_file(tmp / "system_info"), "system_20170630223000.csv\n1\n");
    EXPECT_TRUE(exists(tmp / "vol/systemlog/201706/system_20170630223000.csv"));
  }
}

}  // namespace
}  // namespace sarvik
