// Access records end to end: the eight columns, the share filter and the switches.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <ctime>

#include "harness/records.h"
#include "harness/service_test.h"
#include "testing/file_text.h"

namespace sarvik::testing {
namespace {

using AccessLog = ServiceTest;

// Sends one access record and returns the columns after the time of the one line it made.
std::vector<std::string> logged_columns(const std::string& record) {
  size_t before = log_lines("accesslog", kLogVolume).size();
  EXPECT_EQ(exchange(record), kOkAnswer);
  std::vector<std::string> lines = log_lines("accesslog", kLogVolume);
  if (lines.size() != before + 1) return {"<no new line>"};
  std::vector<std::string> columns = fields_of(lines.back());
  columns.erase(columns.begin());
  return columns;
}

using Columns = std::vector<std::string>;

TEST_F(AccessLog, WritesTheEightColumnsWithTheServicesClock) {
  start_service();
  time_t before = time(nullptr);
  EXPECT_EQ(
      exchange(access_record("alice", "pc1", "192.0.2.7", "open", 0, 13, "docs", "r|dir/file.txt")),
      kOkAnswer);
  time_t after = time(nullptr);
  std::vector<std::string> lines = log_lines("accesslog", kLogVolume);
  ASSERT_EQ(lines.size(), 1u);
  std::string rest = ",alice,pc1,192.0.2.7,open_read,fail (Permission denied),docs,dir/file.txt";
  EXPECT_TRUE(lines[0] == record_time(before) + rest || lines[0] == record_time(after) + rest)
      << lines[0];
}

TEST_F(AccessLog, UserNameIsFoldedToLowerCase) {
  start_service();
  EXPECT_EQ(logged_columns(access_record("ALICE\xC3\x89", "h", "i", "open", 1, 0, "docs", "p"))[0],
            "alice\xC3\x89");
}

TEST_F(AccessLog, DirectionPrefixesShapeOperationAndPath) {
  start_service();
  struct Case {
    const char* raw_path;
    const char* operation;
    const char* path;
  };
  const Case cases[] = {
      {"r|dir/x", "open_read", "dir/x"}, {"w|dir/x", "open_write", "dir/x"},
      {"dir/x", "open", "dir/x"},        {"r|w|x", "open_read", "x"},
      {"w|r|x", "open_write", "r|x"},    {"./x", "open", "./x"},
  };
  for (const Case& c : cases) {
    Columns columns =
        logged_columns(access_record("u", "h", "i", "open", 1, 0, "docs", c.raw_path));
    ASSERT_EQ(columns.size(), 7u) << c.raw_path;
    EXPECT_EQ(columns[3], c.operation) << c.raw_path;
    EXPECT_EQ(columns[6], c.path) << c.raw_path;
  }
}

TEST_F(AccessLog, ShareRootIsLoggedUnderTheShareName) {
  start_service();
  for (const char* raw_path : {"r|.", ".", "w|."}) {
    EXPECT_EQ(logged_columns(access_record("u", "h", "i", "open", 1, 0, "docs", raw_path))[6],
              "docs")
        << raw_path;
  }
}

TEST_F(AccessLog, StatusDecidesTheResult) {
  start_service();
  EXPECT_EQ(logged_columns(access_record("u", "h", "i", "op", 1, 13, "docs", "p"))[4], "ok");
  EXPECT_EQ(logged_columns(access_record("u", "h", "i", "op", 7, 0, "docs", "p"))[4], "ok");
  EXPECT_EQ(logged_columns(access_record("u", "h", "i", "op", 0, 0, "docs", "p"))[4],
            "fail (Success)");
  EXPECT_EQ(logged_columns(access_record("u", "h", "i", "op", 0, 2, "docs", "p"))[4],
            "fail (No such file or directory)");
}

TEST_F(AccessLog, CommaInThePathMakesMoreColumns) {
  start_service();
  EXPECT_EQ(logged_columns(access_record("u", "h", "i", "op", 1, 0, "docs", "a,b")).size(), 8u);
}

TEST_F(AccessLog, IpcShareIsNeverLoggedEvenWithAll) {
  start_service();
  EXPECT_EQ(exchange(access_record("u", "h", "i", "op", 1, 0, "IPC$", "p")), kOkAnswer);
  EXPECT_FALSE(exists(std::string(kLogVolume) + "/accesslog"));
}

TEST_F(AccessLog, OnlyListedSharesAreLogged) {
  Settings settings;
  settings.all_shares = "false";
  settings.shares = {"docs", "IPC$"};
  write_settings(settings);
  start_service();
  for (const char* share : {"public", "Docs", "IPC$", ""}) {
    EXPECT_EQ(exchange(access_record("u", "h", "i", "op", 1, 0, share, "p")), kOkAnswer);
  }
  EXPECT_TRUE(log_lines("accesslog", kLogVolume).empty());
  EXPECT_EQ(logged_columns(access_record("u", "h", "i", "op", 1, 0, "docs", "p"))[5], "docs");
}

TEST_F(AccessLog, DisabledLogAnswersAndWritesNothing) {
  Settings settings;
  settings.access_log_enable = "false";
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(access_record("u", "h", "i", "op", 1, 0, "docs", "p")), kOkAnswer);
  EXPECT_FALSE(exists(std::string(kLogVolume) + "/accesslog"));
}

TEST_F(AccessLog, RecordThatCannotBeWrittenIsDroppedAndStillAnswered) {
  ASSERT_EQ(rmdir(kLogVolume), 0);
  start_service();
  EXPECT_EQ(exchange(access_record("u", "h", "i", "op", 1, 0, "docs", "lost")), kOkAnswer);
  make_dirs(kLogVolume);
  EXPECT_EQ(logged_columns(access_record("u", "h", "i", "op", 1, 0, "docs", "kept"))[6], "kept");
  EXPECT_EQ(log_lines("accesslog", kLogVolume).size(), 1u);
}

}  // namespace
}  // namespace sarvik::testing
