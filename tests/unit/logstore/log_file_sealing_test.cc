// Tests of what a log tells its sealer: every line as it stands in its file, and every file that
// its expiry deleted.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "logstore/line_sealer.h"
#include "logstore/log_file.h"
#include "testing/file_size_limit.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/test_times.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

using ::sarvik::testing::FileSizeLimit;
using ::sarvik::testing::kApril1st;
using ::sarvik::testing::kMarch4th;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

constexpr time_t kAYearOn = kMarch4th + 400 * 86400;

// What the sealer was told, copied.
struct Told {
  std::string log_root;
  std::string month;
  std::string name;
  dev_t device;
  ino_t inode;
  uint64_t offset;
  bool opened_empty;
  std::string text;
};

class RecordingSealer : public LineSealer {
 public:
  void line_written(const WrittenLine& line) override {
    lines.push_back(Told{line.log_root, line.month, line.name, line.device, line.inode, line.offset,
                         line.opened_empty, line.text});
  }
  void file_expired(const ExpiredFile& file) override { expired.push_back(file); }

  std::vector<Told> lines;
  std::vector<ExpiredFile> expired;
};

struct stat status_of(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

class LogFileSealing : public ::testing::Test {
 protected:
  LogFileSealing() : base(tmp / "vol"), state(tmp / "state") {
    make_dirs(base);
    make_dirs(state);
  }

  // The access log, to be given the sealer (LogFile cannot be moved).
  LogFile access_log() { return LogFile(base, "accesslog", "access_", ".csv", state); }
  std::string root() const { return base + "/accesslog"; }

  ScopedTimeZone zone{::sarvik::testing::kUtc};
  TempDir tmp;
  std::string base;
  std::string state;
  RecordingSealer sealer;
};

TEST_F(LogFileSealing, EachLineIsToldWithItsFileAndWhereItBegins) {
  {
    LogFile log = access_log();
    log.sealer = &sealer;
    log.sealer = &sealer;
    ASSERT_EQ(log.write_line(kMarch4th, "first"), 0);
    ASSERT_EQ(log.write_line(kMarch4th, "second, longer"), 0);
  }
  {
    LogFile log = access_log();
    log.sealer = &sealer;
    log.sealer = &sealer;
    ASSERT_EQ(log.write_line(kMarch4th + 1, ""), 0);
  }
  const std::string path = root() + "/201703/access_20170304123456.csv";
  ASSERT_EQ(read_file(path),
            "\xEF\xBB\xBF"
            "first\r\nsecond, longer\r\n\r\n");
  struct stat file = status_of(path);
  ASSERT_EQ(sealer.lines.size(), 3u);
  const uint64_t offsets[] = {3, 10, 26};
  const bool empty[] = {true, true, false};
  const char* texts[] = {"first", "second, longer", ""};
  for (size_t i = 0; i < 3; ++i) {
    const Told& told = sealer.lines[i];
    EXPECT_EQ(told.log_root, root());
    EXPECT_EQ(told.month, "201703");
    EXPECT_EQ(told.name, "access_20170304123456.csv");
    EXPECT_EQ(told.device, file.st_dev);
    EXPECT_EQ(told.inode, file.st_ino);
    EXPECT_EQ(told.offset, offsets[i]) << i;
    EXPECT_EQ(told.opened_empty, empty[i]) << i;
    EXPECT_EQ(told.text, texts[i]);
  }
}

TEST_F(LogFileSealing, ANewFileIsToldWithItsOwnIdentity) {
  LogFile log = access_log();
  log.sealer = &sealer;
  ASSERT_EQ(log.write_line(kMarch4th, "march"), 0);
  ASSERT_EQ(log.write_line(kApril1st, "april"), 0);
  ASSERT_EQ(sealer.lines.size(), 2u);
  struct stat april = status_of(root() + "/201704/access_20170401000000.csv");
  EXPECT_EQ(sealer.lines[1].month, "201704");
  EXPECT_EQ(sealer.lines[1].name, "access_20170401000000.csv");
  EXPECT_EQ(sealer.lines[1].inode, april.st_ino);
  EXPECT_NE(sealer.lines[1].inode, sealer.lines[0].inode);
  EXPECT_EQ(sealer.lines[1].offset, 3u);
  EXPECT_TRUE(sealer.lines[1].opened_empty);
}

TEST_F(LogFileSealing, AFileThatAnotherHandExtendedIsToldWhereTheLineReallyBegins) {
  {
    LogFile log = access_log();
    log.sealer = &sealer;
    log.sealer = &sealer;
    ASSERT_EQ(log.write_line(kMarch4th, "ours"), 0);
  }
  const std::string path = root() + "/201703/access_20170304123456.csv";
  write_file(path, read_file(path) + "theirs\r\n", 0666);
  LogFile log = access_log();
  log.sealer = &sealer;
  ASSERT_EQ(log.write_line(kMarch4th, "ours again"), 0);
  ASSERT_EQ(sealer.lines.size(), 2u);
  EXPECT_EQ(sealer.lines[1].offset, 3u + 6 + 8);
  EXPECT_FALSE(sealer.lines[1].opened_empty);
}

TEST_F(LogFileSealing, WithoutASealerNothingChanges) {
  LogFile log(base, "accesslog", "access_", ".csv", state);
  EXPECT_EQ(log.sealer, nullptr);
  ASSERT_EQ(log.write_line(kMarch4th, "x"), 0);
  EXPECT_EQ(read_file(root() + "/201703/access_20170304123456.csv"),
            "\xEF\xBB\xBF"
            "x\r\n");
}

TEST_F(LogFileSealing, ALineThatDidNotReachItsFileIsNotTold) {
  {
    LogFile log = access_log();
    log.sealer = &sealer;
    log.sealer = &sealer;
    ASSERT_EQ(log.write_line(kMarch4th, "fits"), 0);
  }
  LogFile log = access_log();
  log.sealer = &sealer;
  {
    FileSizeLimit limit(20);
    EXPECT_EQ(log.write_line(kMarch4th, "this line does not fit"), 0);
  }
  EXPECT_EQ(log.write_line(kMarch4th, "nor does the next, in the same object"), 0);
  ASSERT_EQ(sealer.lines.size(), 1u);
  EXPECT_EQ(sealer.lines[0].text, "fits");
}

TEST_F(LogFileSealing, ExpiryTellsEveryFileItDeletedWithItsIdentity) {
  {
    LogFile log = access_log();
    log.sealer = &sealer;
    log.sealer = &sealer;
    ASSERT_EQ(log.write_line(kMarch4th, "old"), 0);
  }
  const std::string old_path = root() + "/201703/access_20170304123456.csv";
  struct stat old_file = status_of(old_path);
  // Not log files, so never deleted and never told.
  write_file(root() + "/201703/notes.txt", "n");
  LogFile log = access_log();
  log.sealer = &sealer;
  log.auto_delete = AutoDelete{true, 30, 100};
  ASSERT_EQ(log.write_line(kAYearOn, "new"), 0);
  EXPECT_FALSE(::sarvik::testing::exists(old_path));
  ASSERT_EQ(sealer.expired.size(), 1u);
  EXPECT_EQ(sealer.expired[0].month, "201703");
  EXPECT_EQ(sealer.expired[0].name, "access_20170304123456.csv");
  EXPECT_EQ(sealer.expired[0].device, old_file.st_dev);
  EXPECT_EQ(sealer.expired[0].inode, old_file.st_ino);
  ASSERT_EQ(sealer.lines.size(), 2u);
}

}  // namespace
}  // namespace sarvik
