// Tests that the corpus's fast writer lays a log out as the service's own writer does.
#include "tree_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "logstore/log_file.h"
#include "logstore/log_format.h"
#include "logstore/log_kinds.h"
#include "testing/file_text.h"
#include "testing/time_zone.h"
#include "tree_text.h"

namespace sarvik::corpus {
namespace {

using ::sarvik::testing::ScopedTimeZone;
using Lines = std::vector<std::pair<time_t, std::string>>;

constexpr time_t kMarch31 = 1490918340;  // 2017-03-31 23:59:00 UTC
constexpr time_t kApril1 = 1491004800;   // 2017-04-01 00:00:00 UTC

class TreeWriterLikeLogFile : public ::testing::Test {
 protected:
  TreeWriterLikeLogFile() {
    for (const std::string& dir : {fast, service, state}) testing::make_dirs(dir);
  }

  // Writes `lines` into a log of `kind` through both writers, each into its own volume.
  void write_both(const LogKind& kind, const Lines& lines) {
    TreeWriter writer(fast, kind);
    LogFile log = make_log_file(kind, service, state);
    for (const auto& [when, line] : lines) {
      writer.write_line(when, line);
      ASSERT_EQ(log.write_line(when, line), 0);
    }
    writer.finish();
  }

  // The two volumes hold the same directories and files, with the same modes and bytes.
  void expect_same_trees() {
    auto mine = read_tree(fast);
    auto theirs = read_tree(service);
    std::vector<std::string> my_paths, their_paths;
    for (const auto& entry : mine) my_paths.push_back(entry.first);
    for (const auto& entry : theirs) their_paths.push_back(entry.first);
    ASSERT_EQ(my_paths, their_paths);
    for (const auto& [path, entry] : theirs) {
      EXPECT_EQ(mine[path].mode, entry.mode) << path;
      EXPECT_TRUE(mine[path].content == entry.content) << path << " differs";
    }
  }

  MemoryDir tmp;
  std::string fast = tmp / "fast";
  std::string service = tmp / "service";
  std::string state = tmp / "state";
};

TEST_F(TreeWriterLikeLogFile, ChangesFileWithTheMonthAndBackForALineOfAPastMonth) {
  ScopedTimeZone zone(testing::kUtc);
  Lines lines = {{kMarch31, "march, first"}, {kMarch31 + 1, ""}, {kApril1, "april"}};
  // A line stamped with the very second of the March file's first line goes back into that
  // file, which gets no second byte-order mark; the next April line starts a third file.
  lines.push_back({kMarch31, "late march"});
  lines.push_back({kApril1 + 60, "april again"});
  write_both(kAccessLog, lines);
  expect_same_trees();
  EXPECT_EQ(testing::list_dir(fast + "/accesslog/201704").size(), 2u);
}

TEST_F(TreeWriterLikeLogFile, StartsANewFileAfterTheLineLimitUnlessTheStampIsTheSame) {
  ScopedTimeZone zone(testing::kUtc);
  Lines lines = {{kApril1, "first"}};
  for (int i = 1; i < kLineLimit; ++i) lines.push_back({kApril1 + 1, "line " + std::to_string(i)});
  // The file is full. A line with the very stamp of the file would get the file's own name, so
  // the file stays and grows past the limit; the next line of another second starts a new file.
  lines.push_back({kApril1, "the file's own second"});
  lines.push_back({kApril1 + 2, "next second"});
  lines.push_back({kApril1 + 3, "after it"});
  write_both(kSystemLog, lines);
  expect_same_trees();
  EXPECT_EQ(testing::list_dir(fast + "/systemlog/201704"),
            (std::vector<std::string>{"system_20170401000000.csv", "system_20170401000002.csv"}));
}

TEST_F(TreeWriterLikeLogFile, FollowsLocalTimeAcrossTheEndOfDaylightSaving) {
  ScopedTimeZone zone(testing::kBerlin);
  Lines lines;
  // Every seven minutes from 2017-10-28 to 2017-11-01 in Berlin: clocks go back on the 29th.
  for (time_t when = 1509141600; when < 1509537600; when += 420) {
    lines.push_back({when, "at " + std::to_string(when)});
  }
  write_both(kAlertLog, lines);
  expect_same_trees();
  EXPECT_EQ(testing::list_dir(fast + "/alertlog"), (std::vector<std::string>{"201710", "201711"}));
}

}  // namespace
}  // namespace sarvik::corpus
