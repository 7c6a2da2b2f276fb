// Tests that reading only the files that can hold a time range finds exactly what reading every
// file finds, on trees written by the service's own log writer: access logs in time order across
// a daylight-saving change, system logs with times out of order.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "logstore/log_kinds.h"
#include "query/chunk_reader.h"
#include "scan_collector.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/time_zone.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::kBerlin;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using testing::Collected;
using testing::scan_tree;

// 2024-09-20 00:00:00 UTC to 2024-12-10: across the month ends and the autumn change.
constexpr time_t kStart = 1726790400;
constexpr time_t kSpan = 81 * 86400;

std::string local_text(time_t when) {
  struct tm fields;
  localtime_r(&when, &fields);
  char text[32];
  strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &fields);
  return text;
}

class PruningTest : public ::testing::Test {
 protected:
  // Writes one line through a fresh LogFile, as the service does per request; now and then the
  // state file goes missing, so that a new file begins, as after a restart without its state.
  void write(const LogKind& kind, time_t when, const std::string& rest) {
    if (random() % 40 == 0) std::remove((state + "/" + kind.prefix + "info").c_str());
    LogFile log = make_log_file(kind, dir.path(), state);
    ASSERT_EQ(log.write_line(when, local_text(when) + "," + rest), 0);
  }

  // Every line of every file of the log, in the order of months and names, each with its
  // number: what a reading of the whole tree without pruning gives.
  std::vector<Collected> every_line(const LogKind& kind) {
    std::vector<Collected> lines;
    std::string log = dir / kind.subdir;
    for (const std::string& month : ::sarvik::testing::list_dir(log)) {
      for (const std::string& name : ::sarvik::testing::list_dir(log + "/" + month)) {
        std::string content = ::sarvik::testing::read_file(log + "/" + month + "/" + name);
        size_t start = 3, number = 1;  // behind the byte-order mark
        for (size_t end; (end = content.find("\r\n", start)) != std::string::npos;
             start = end + 2, ++number) {
          lines.push_back(Collected{std::string(kind.subdir) + "/" + month + "/" + name, number,
                                    content.substr(start, end - start)});
        }
      }
    }
    return lines;
  }

  static std::vector<Collected> inside(const std::vector<Collected>& lines,
                                       const TimeRange& range) {
    std::vector<Collected> kept;
    for (const Collected& line : lines) {
      if (range.contains_line(line.text)) kept.push_back(line);
    }
    return kept;
  }

  // Compares the pruned reading with the brute-force one for many ranges; returns the number
  // of ranges for which pruning left files out.
  int compare_ranges(const LogKind& kind, bool access_columns) {
    RecordFilter filter;
    int pruned = 0;
    std::vector<time_t> marks;
    for (int i = 0; i < 60; ++i) marks.push_back(kStart - 86400 + random() % (kSpan + 2 * 86400));
    // And the bounds that matter most: month ends and the repeated hour of the autumn change.
    for (time_t mark :
         {1727733599, 1727733600, 1730000000, 1729989000, 1729992600, 1730415599, 1730415600}) {
      marks.push_back(mark);
    }
    size_t all_files = 0;
    TimeRange everything;
    ScanSettings whole{access_columns, &everything, &filter, nullptr, true};
    const std::vector<Collected> all_lines = every_line(kind);
    EXPECT_EQ(scan_tree(dir.path(), kind, whole, false, &all_files), all_lines);
    for (size_t i = 0; i + 1 < marks.size(); ++i) {
      CivilTime since, until;
      EXPECT_TRUE(read_record_time(local_text(std::min(marks[i], marks[i + 1])), &since));
      EXPECT_TRUE(read_record_time(local_text(std::max(marks[i], marks[i + 1])), &until));
      for (TimeRange range : {TimeRange(since, until), TimeRange(since, std::nullopt),
                              TimeRange(std::nullopt, until)}) {
        ScanSettings settings{access_columns, &range, &filter, nullptr, true};
        size_t files_read = 0;
        std::vector<Collected> found = scan_tree(dir.path(), kind, settings, false, &files_read);
        EXPECT_EQ(found, inside(all_lines, range))
            << record_time_text(since) << " to " << record_time_text(until);
        pruned += files_read < all_files;
      }
    }
    return pruned;
  }

  ScopedTimeZone zone{kBerlin};
  std::mt19937 random{17};
  TempDir dir;
  std::string state = dir / "state";
};

TEST_F(PruningTest, AccessLogInTimeOrderAcrossTheAutumnChange) {
  ::sarvik::testing::make_dirs(state);
  // Through the two passes of the hour that repeats, a line each minute.
  const time_t repeat_begin = 1729987200, repeat_end = 1729994400;
  for (time_t when = kStart; when < kStart + kSpan;
       when += when >= repeat_begin && when < repeat_end ? 60 : 1 + random() % 7000) {
    write(kAccessLog, when, "alice,pc1,192.0.2.7,open_read,ok,docs,x");
  }
  EXPECT_GT(compare_ranges(kAccessLog, true), 50);
}

TEST_F(PruningTest, SystemLogWithTimesOutOfOrder) {
  ::sarvik::testing::make_dirs(state);
  // The clients' times: most near a present that moves on, some anywhere in the span.
  for (int i = 0; i < 1500; ++i) {
    time_t present = kStart + kSpan * i / 1500;
    time_t when = random() % 8 == 0 ? kStart + random() % kSpan
                                    : present - 3 * 86400 + random() % (6 * 86400);
    write(kSystemLog, when, "backup,run " + std::to_string(i) + ",ok");
  }
  // Only whole months can be left out here, which the ranges of a few days rarely allow.
  EXPECT_GT(compare_ranges(kSystemLog, false), 5);
}

}  // namespace
}  // namespace sarvik::query
