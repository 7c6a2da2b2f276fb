// Tests of the scanner: line numbers as grep -n counts them, the search for a string first giving
// what a line-by-line reading gives, backward as forward reversed, and the end of an ordered
// file beyond the range.
#include "query/file_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "logstore/log_kinds.h"
#include "scan_collector.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::make_dirs;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;
using testing::Collected;
using testing::scan_tree;

class FileScannerTest : public ::testing::Test {
 protected:
  void add_file(const std::string& month, const std::string& name, const std::string& content) {
    make_dirs(dir / ("accesslog/" + month));
    write_file(dir / ("accesslog/" + month + "/" + name), content);
  }

  std::vector<Collected> scan(const FilterValues& values, const TimeRange& range = TimeRange(),
                              bool backward = false) {
    RecordFilter filter;
    std::string error;
    EXPECT_TRUE(filter.build(values, &error)) << error;
    ScanSettings settings{true, &range, &filter, nullptr, true};
    return scan_tree(dir.path(), kAccessLog, settings, backward);
  }

  TempDir dir;
};

const char kFile[] = "accesslog/202403/access_20240304090000.csv";

TEST_F(FileScannerTest, NumbersLinesAsGrepCountsThem) {
  // The second record holds a line feed of its own: it counts as a line of the file, as grep -n
  // counts, and the record keeps the number of its first line.
  add_file("202403", "access_20240304090000.csv",
           "\xEF\xBB\xBF"
           "2024/03/04 09:00:00,alice,pc1,192.0.2.7,open_read,ok,docs,first\r\n"
           "2024/03/04 09:00:01,alice,pc1,192.0.2.7,open_read,ok,docs,two\nlines\r\n"
           "2024/03/04 09:00:02,bob,pc1,192.0.2.7,open_read,ok,docs,third\r\n");
  std::vector<Collected> all = scan(FilterValues());
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0], (Collected{kFile, 1,
                               "2024/03/04 09:00:00,alice,pc1,192.0.2.7,open_read,ok,docs,first"}));
  EXPECT_EQ(all[1].line, 2u);
  EXPECT_EQ(all[1].text, "2024/03/04 09:00:01,alice,pc1,192.0.2.7,open_read,ok,docs,two\nlines");
  EXPECT_EQ(all[2].line, 4u);
  // The same numbers when only the lines around a string are read, and read backward.
  FilterValues third;
  third.greps = {"third"};
  EXPECT_EQ(scan(third), std::vector<Collected>{all[2]});
  FilterValues two;
  two.paths = {"TWO"};
  EXPECT_EQ(scan(two), std::vector<Collected>{all[1]});
  std::vector<Collected> reversed(all.rbegin(), all.rend());
  EXPECT_EQ(scan(FilterValues(), TimeRange(), /*backward=*/true), reversed);
}

// A file of many lines with random fields, some of which hold the string looked for.
std::string random_file(std::mt19937& random, int lines) {
  std::string content = "\xEF\xBB\xBF";
  const char* users[] = {"alice", "bob", "carol"};
  const char* paths[] = {"a/q3.xlsx", "b,c/Q3.XLSX", "x", "two\nlines q3", "q3.xlsx,q3"};
  for (int i = 0; i < lines; ++i) {
    char time[32];
    snprintf(time, sizeof time, "2024/03/%02d %02d:%02d:%02d", 4 + i / 20000, (i / 3600) % 24,
             (i / 60) % 60, i % 60);
    content += std::string(time) + "," + users[random() % 3] + ",pc1,192.0.2.7,open_read," +
               (random() % 4 == 0 ? "fail (Permission denied)" : "ok") + ",docs," +
               paths[random() % 5] + "\r\n";
  }
  return content;
}

TEST_F(FileScannerTest, SearchingForTheStringFirstFindsWhatEveryLineGives) {
  std::mt19937 random(5);
  add_file("202403", "access_20240304000000.csv", random_file(random, 30000));
  add_file("202403", "access_20240305120000.csv", random_file(random, 1000));
  for (const char* needle : {"q3", "Q3.X", "two\nlines", "alice,pc1", "ok,docs,x", "\r\n2024"}) {
    FilterValues by_path;
    by_path.paths = {needle};
    FilterValues by_path_pattern;  // the same, but a pattern: every line is read
    by_path_pattern.paths = {std::string("*") + needle + "*"};
    EXPECT_EQ(scan(by_path), scan(by_path_pattern)) << needle;
    FilterValues by_grep;
    by_grep.greps = {needle};
    FilterValues by_grep_expression;  // the same, but no plain string: every line is read
    by_grep_expression.greps = {std::string("(?:") + needle + ")"};
    std::vector<Collected> found = scan(by_grep);
    EXPECT_EQ(found, scan(by_grep_expression)) << needle;
    std::vector<Collected> backward = scan(by_grep, TimeRange(), true);
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(backward, found) << needle;
  }
}

CivilTime at(const char* text) {
  CivilTime time;
  EXPECT_TRUE(read_record_time(text, &time)) << text;
  return time;
}

TEST_F(FileScannerTest, TimeRangeInsideAFile) {
  std::mt19937 random(9);
  add_file("202403", "access_20240304000000.csv", random_file(random, 30000));
  TimeRange range(at("2024/03/04 05:00:00"), at("2024/03/04 05:00:59"));
  std::vector<Collected> found = scan(FilterValues(), range);
  ASSERT_EQ(found.size(), 60u);
  EXPECT_EQ(found.front().text.substr(0, 19), "2024/03/04 05:00:00");
  EXPECT_EQ(found.back().text.substr(0, 19), "2024/03/04 05:00:59");
  std::vector<Collected> backward = scan(FilterValues(), range, true);
  EXPECT_EQ(std::vector<Collected>(backward.rbegin(), backward.rend()), found);
}

TEST_F(FileScannerTest, AnOrderedFileEndsWhereItsLinesPassTheRangeBySlack) {
  // Lines of a day each hour; a line far beyond the range, then one inside it again, which only
  // a clock set back by more than the slack could have written: the scan stops before it.
  std::string content = "\xEF\xBB\xBF";
  for (int hour = 0; hour < 24; ++hour) {
    char line[96];
    snprintf(line, sizeof line, "2024/03/04 %02d:00:00,alice,pc1,192.0.2.7,open_read,ok,docs,x\r\n",
             hour);
    content += line;
  }
  content += "2024/03/06 12:00:00,alice,pc1,192.0.2.7,open_read,ok,docs,far\r\n";
  content += "2024/03/04 02:30:00,alice,pc1,192.0.2.7,open_read,ok,docs,back\r\n";
  add_file("202403", "access_20240304000000.csv", content);
  std::vector<Collected> found =
      scan(FilterValues(), TimeRange(at("2024/03/04 02:00:00"), at("2024/03/04 03:00:00")));
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].line, 3u);
  EXPECT_EQ(found[1].line, 4u);
}

}  // namespace
}  // namespace sarvik::query
