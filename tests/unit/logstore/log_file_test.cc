// Tests of the log file writer and its state file, on real directories.
#include "logstore/log_file.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "logstore/directory.h"
#include "testing/file_size_limit.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/test_times.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

using ::sarvik::testing::exists;
using ::sarvik::testing::file_mode;
using ::sarvik::testing::FileSizeLimit;
using ::sarvik::testing::kMarch4th;
using ::sarvik::testing::list_dir;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

constexpr char kBom[] = "\xEF\xBB\xBF";
constexpr char kMarchFile[] = "system_20170304123456.csv";

// Sets the file-creation mask for the life of the object.
class ScopedUmask {
 public:
  explicit ScopedUmask(mode_t mask) : previous(umask(mask)) {}
  ~ScopedUmask() { umask(previous); }

 private:
  mode_t previous;
};

// How many descriptors of this process have `path` open.
int open_count(const std::string& path) {
  int count = 0;
  Directory fds("/proc/self/fd", DirEntryIterator::DefaultIgnoreList());
  for (const dirent& entry : fds) {
    char target[PATH_MAX] = {};
    std::string link = std::string("/proc/self/fd/") + entry.d_name;
    if (readlink(link.c_str(), target, sizeof target - 1) > 0 && path == target) ++count;
  }
  return count;
}

class LogFileWriter : public ::testing::Test {
 protected:
  LogFileWriter() : base(tmp / "vol"), state(tmp / "state") {
    make_dirs(base);
    make_dirs(state);
  }

  LogFile system_log() { return LogFile(base, "systemlog", "system_", ".csv", state); }
  std::string march_path() const { return base + "/systemlog/201703/" + kMarchFile; }
  std::string info() const { return read_file(state + "/system_info"); }

  ScopedTimeZone zone{::sarvik::testing::kUtc};
  TempDir tmp;
  std::string base;
  std::string state;
};

TEST_F(LogFileWriter, FirstLineEverStartsFileWithByteOrderMarkAndStateFile) {
  LogFile log = system_log();
  EXPECT_EQ(log.write_line(kMarch4th, "hello"), 0);
  EXPECT_EQ(read_file(march_path()), std::string(kBom) + "hello\r\n");
  EXPECT_EQ(info(), "system_20170304123456.csv\n1\n");
}

TEST_F(LogFileWriter, MissingBaseDirReturnsOneLeavesNoTraceAndHeals) {
  testing::remove_tree(base);
  write_file(state + "/system_info", "system_20170301000000.csv\n7\n");
  LogFile log = system_log();
  EXPECT_EQ(log.write_line(kMarch4th, "lost"), 1);
  EXPECT_FALSE(exists(base));
  EXPECT_EQ(info(), "system_20170301000000.csv\n7\n");

  make_dirs(base);
  EXPECT_EQ(log.write_line(kMarch4th, "kept"), 0);
  EXPECT_EQ(read_file(base + "/systemlog/201703/system_20170301000000.csv"),
            std::string(kBom) + "kept\r\n");
  EXPECT_EQ(info(), "system_20170301000000.csv\n1\n");
}

TEST_F(LogFileWriter, DirectoriesGetMode0777AndFileMode0666WhateverTheUmask) {
  ScopedUmask mask(077);
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(kMarch4th, "x"), 0);
  EXPECT_EQ(file_mode(base + "/systemlog"), 0777);
  EXPECT_EQ(file_mode(base + "/systemlog/201703"), 0777);
  EXPECT_EQ(file_mode(march_path()), 0666);
}

TEST_F(LogFileWriter, ReopenedNonEmptyFileGetsNoSecondByteOrderMark) {
  {
    LogFile first = system_log();
    ASSERT_EQ(first.write_line(kMarch4th, "one"), 0);
  }
  LogFile second = system_log();
  ASSERT_EQ(second.write_line(kMarch4th + 60, "two"), 0);
  EXPECT_EQ(read_file(march_path()), std::string(kBom) + "one\r\ntwo\r\n");
  EXPECT_EQ(info(), "system_20170304123456.csv\n2\n");
}

TEST_F(LogFileWriter, TwoLinesGoThroughOneOpenStreamAndStateFollowsEach) {
  {
    LogFile log = system_log();
    ASSERT_EQ(log.write_line(kMarch4th, "one"), 0);
    EXPECT_EQ(info(), "system_20170304123456.csv\n1\n");
    EXPECT_EQ(open_count(march_path()), 1);
    ASSERT_EQ(log.write_line(kMarch4th + 1, "two"), 0);
    EXPECT_EQ(info(), "system_20170304123456.csv\n2\n");
    EXPECT_EQ(open_count(march_path()), 1);
    EXPECT_EQ(read_file(march_path()), std::string(kBom) + "one\r\ntwo\r\n");
  }
  EXPECT_EQ(open_count(march_path()), 0);  // closed with the object
}

TEST_F(LogFileWriter, LineWithCrLfAndCommaIsWrittenUnchangedAsOneLine) {
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(kMarch4th, "a,b\r\nc\nd\re"), 0);
  EXPECT_EQ(read_file(march_path()), std::string(kBom) + "a,b\r\nc\nd\re\r\n");
  EXPECT_EQ(info(), "system_20170304123456.csv\n1\n");
}

TEST_F(LogFileWriter, EmptyLineWritesOnlyCrLfAndCounts) {
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(kMarch4th, ""), 0);
  EXPECT_EQ(read_file(march_path()), std::string(kBom) + "\r\n");
  EXPECT_EQ(info(), "system_20170304123456.csv\n1\n");
}

TEST_F(LogFileWriter, StateFileWithNameAndNoNumberCountsFromZero) {
  write_file(state + "/system_info", "system_20170301000000.csv\n");
  make_dirs(base + "/systemlog/201703");
  write_file(base + "/systemlog/201703/system_20170301000000.csv", std::string(kBom) + "old\r\n");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(kMarch4th, "x"), 0);
  EXPECT_EQ(info(), "system_20170301000000.csv\n1\n");
  EXPECT_EQ(read_file(base + "/systemlog/201703/system_20170301000000.csv"),
            std::string(kBom) + "old\r\nx\r\n");
}

TEST_F(LogFileWriter, EmptyStateFileGetsAFreshName) {
  write_file(state + "/system_info", "");
  LogFile log = system_log();
  ASSERT_EQ(log.write_line(kMarch4th, "x"), 0);
  EXPECT_EQ(info(), "system_20170304123456.csv\n1\n");
}

TEST_F(LogFileWriter, UnopenableLogFileReturnsOne) {
  write_file(base + "/systemlog", "not a directory");
  LogFile log = system_log();
  EXPECT_EQ(log.write_line(kMarch4th, "x"), 1);
  EXPECT_EQ(read_file(base + "/systemlog"), "not a directory");
}

TEST_F(LogFileWriter, OtherLogsKeepTheirOwnFilesAndStateFiles) {
  LogFile access(base, "accesslog", "access_", ".csv", state);
  ASSERT_EQ(access.write_line(kMarch4th, "a"), 0);
  EXPECT_EQ(list_dir(base + "/accesslog/201703"),
            (std::vector<std::string>{"access_20170304123456.csv"}));
  EXPECT_EQ(read_file(state + "/access_info"), "access_20170304123456.csv\n1\n");
  EXPECT_FALSE(exists(state + "/system_info"));
}

// When the volume takes no more, the write fails unnoticed: the line still counts and the
// result is 0.
TEST(LogFileFullVolume, FailedWriteStillCountsAsALine) {
  ScopedTimeZone zone(::sarvik::testing::kUtc);
  auto tmp = std::make_unique<TempDir>();
  std::string base = *tmp / "vol";
  make_dirs(base);
  LogFile log(base, "systemlog", "system_", ".csv", tmp->path());
  ASSERT_EQ(log.write_line(kMarch4th, "first"), 0);
  {
    FileSizeLimit limit(4096);  // the log file takes no more than its first 4 KiB
    EXPECT_EQ(log.write_line(kMarch4th, std::string(16 * 1024, 'y')), 0);
  }
  EXPECT_EQ(read_file(*tmp / "system_info"), "system_20170304123456.csv\n2\n");
  EXPECT_LT(read_file(base + "/systemlog/201703/system_20170304123456.csv").size(), 16u * 1024u);
}

}  // namespace
}  // namespace sarvik
