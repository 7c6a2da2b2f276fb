// Tests of the engine's front door: pages that join up to the whole answer in either direction,
// a place to begin at whose line number is not known, cancelling, following only new lines, and
// problems handed to the front end's sink.
#include "query/search.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "collecting_writer.h"
#include "logstore/log_kinds.h"
#include "scan_collector.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/time_zone.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::kUtc;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;
using testing::Collected;
using testing::CollectingProblems;
using testing::CollectingSink;
using testing::CollectingWriter;

// 2024-03-04 12:34:56 UTC.
constexpr time_t kNow = 1709555696;

// Cancels a search at the first line it is given.
class CancellingWriter : public TextWriter {
 public:
  explicit CancellingWriter(Search*& search) : search(search) {}
  bool write(std::string_view piece) override {
    if (!piece.empty() && !header_seen) {
      header_seen = true;  // the header comes before any line
    } else if (!piece.empty()) {
      search->cancel();
      text.append(piece);
    }
    return true;
  }
  bool flush() override { return true; }
  std::string text;

 private:
  Search*& search;
  bool header_seen = false;
};

class SearchTest : public ::testing::Test {
 protected:
  // Twelve files over two months, of different sizes; every line numbered in file order, and
  // every seventh holds a line feed of its own, so that line numbers and records differ.
  void SetUp() override {
    int number = 0;
    for (int file = 0; file < 12; ++file) {
      std::string month = file < 6 ? "202402" : "202403";
      char name[64];
      snprintf(name, sizeof name, "access_%s%02d000000.csv", month.c_str(), 1 + file);
      std::string content = "\xEF\xBB\xBF";
      int lines = file == 5 ? 0 : file % 4 == 0 ? 9000 : 1 + file * 3;
      for (int line = 0; line < lines; ++line, ++number) {
        char text[160];
        snprintf(text, sizeof text,
                 "%s/%s/%02d %02d:%02d:%02d,%s,pc1,192.0.2.7,open_read,ok,docs,n%d%s\r\n",
                 month.substr(0, 4).c_str(), month.substr(4).c_str(), 1 + file, line / 3600 % 24,
                 line / 60 % 60, line % 60, number % 3 == 0 ? "alice" : "bob", number,
                 number % 7 == 0 ? "\nmore" : "");
        content += text;
      }
      make_dirs(dir / ("accesslog/" + month));
      write_file(dir / ("accesslog/" + month + "/" + name), content);
    }
  }

  QueryPlan plan_for(QueryOptions options) {
    options.root = dir.path();
    if (options.output.empty()) options.output = "json";
    QueryPlan plan;
    std::string error;
    EXPECT_TRUE(build_query_plan(options, kNow, /*terminal=*/false, &plan, &error)) << error;
    return plan;
  }

  // The whole answer in one go.
  std::vector<nlohmann::json> all_lines(const QueryPlan& plan) {
    Problems problems(told);
    Search search(plan, problems);
    std::string error;
    EXPECT_TRUE(search.open(/*follow=*/false, &error)) << error;
    CollectingWriter out;
    search.write_lines(out);
    return objects_in(out.text);
  }

  // The answer page by page, each search new and begun where the page before was cut.
  std::vector<nlohmann::json> paged_lines(const QueryPlan& plan, size_t* pages) {
    std::vector<nlohmann::json> lines;
    std::optional<LogPosition> next;
    *pages = 0;
    do {
      Problems problems(told);
      Search search(plan, problems);
      std::string error;
      EXPECT_TRUE(search.open(/*follow=*/false, &error)) << error;
      CollectingWriter out;
      std::optional<LogPosition> from = next;
      next.reset();
      search.write_lines(out, from ? &*from : nullptr, &next);
      for (nlohmann::json& line : objects_in(out.text)) lines.push_back(std::move(line));
      ++*pages;
    } while (next && *pages < 1000);
    return lines;
  }

  // Follows the log from its end, with `round` as what delivers each round of new lines: the
  // lines so far in, true to go on. With `stopped`, the stop descriptor is readable at once.
  std::vector<Collected> follow_new_lines(
      const std::function<bool(const std::vector<Collected>&)>& round, bool stopped) {
    QueryPlan plan = plan_for(QueryOptions());
    Problems problems(told);
    Search search(plan, problems);
    std::string error;
    EXPECT_TRUE(search.open(/*follow=*/true, &error)) << error;
    search.skip_written_lines();
    CollectingSink sink;
    int stop[2];
    EXPECT_EQ(pipe(stop), 0);
    if (stopped) {
      EXPECT_EQ(write(stop[1], "x", 1), 1);
    }
    search.follow(
        sink, [&] { return round(sink.lines); }, stop[0], /*idle_ms=*/stopped ? -1 : 100);
    close(stop[0]);
    close(stop[1]);
    return sink.lines;
  }

  static std::vector<nlohmann::json> objects_in(const std::string& text) {
    std::vector<nlohmann::json> objects;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      objects.push_back(nlohmann::json::parse(text.substr(start, end - start)));
    }
    return objects;
  }

  ScopedTimeZone zone{kUtc};
  TempDir dir;
  CollectingProblems told;
};

TEST_F(SearchTest, PagesJoinUpToTheWholeAnswer) {
  QueryOptions options;
  options.filters.users = {"alice"};
  options.limit = 250;
  QueryPlan paged = plan_for(options);
  options.limit = 0;
  std::vector<nlohmann::json> whole = all_lines(plan_for(options));
  ASSERT_GT(whole.size(), 9000u);
  size_t pages = 0;
  EXPECT_EQ(paged_lines(paged, &pages), whole);
  EXPECT_EQ(pages, (whole.size() + 249) / 250);
}

TEST_F(SearchTest, PagesNewestFirstJoinUpToTheWholeAnswerNewestFirst) {
  QueryOptions options;
  options.reverse = true;
  options.limit = 333;
  QueryPlan paged = plan_for(options);
  options.limit = 0;
  std::vector<nlohmann::json> whole = all_lines(plan_for(options));
  ASSERT_EQ(whole.size(), 27155u);
  EXPECT_EQ(whole.front()["path"], "n" + std::to_string(whole.size() - 1));
  size_t pages = 0;
  EXPECT_EQ(paged_lines(paged, &pages), whole);
  EXPECT_EQ(pages, (whole.size() + 332) / 333);
}

TEST_F(SearchTest, APageOfTheLastLinesHasNoPlaceBehindIt) {
  QueryOptions options;
  options.filters.users = {"alice"};
  options.limit = 1000000;
  size_t pages = 0;
  paged_lines(plan_for(options), &pages);
  EXPECT_EQ(pages, 1u);
}

TEST_F(SearchTest, APlaceWithoutItsLineNumberHasItCounted) {
  std::vector<nlohmann::json> whole = all_lines(plan_for(QueryOptions()));
  // A place in the middle of the first file of March, its number not known.
  QueryOptions options;
  QueryPlan plan = plan_for(options);
  Problems problems(told);
  Search search(plan, problems);
  std::string error;
  ASSERT_TRUE(search.open(false, &error)) << error;
  CollectingWriter first;
  QueryOptions limited;
  limited.limit = 3;
  QueryPlan three = plan_for(limited);
  Search cut(three, problems);
  ASSERT_TRUE(cut.open(false, &error)) << error;
  LogPosition behind_first{"202403", "access_20240307000000.csv", FileProgress{0, 1, false}};
  std::optional<LogPosition> next;
  cut.write_lines(first, &behind_first, &next);
  ASSERT_TRUE(next.has_value());
  EXPECT_EQ(next->name, "access_20240307000000.csv");
  next->at.next_line = 0;  // forgotten: counted again from the file's start
  CollectingWriter rest;
  search.write_lines(rest, &*next);
  std::vector<nlohmann::json> lines = objects_in(rest.text);
  ASSERT_FALSE(lines.empty());
  auto at = std::find(whole.begin(), whole.end(), lines.front());
  ASSERT_NE(at, whole.end()) << lines.front();
  EXPECT_EQ(std::vector<nlohmann::json>(at, whole.end()), lines);
  EXPECT_EQ(objects_in(first.text), std::vector<nlohmann::json>(at - 3, at));
}

TEST_F(SearchTest, ACancelledSearchWritesNoLines) {
  QueryPlan plan = plan_for(QueryOptions());
  Problems problems(told);
  Search search(plan, problems);
  std::string error;
  ASSERT_TRUE(search.open(false, &error)) << error;
  search.cancel();
  CollectingWriter out;
  EXPECT_EQ(search.write_lines(out), 0u);
  EXPECT_EQ(out.text, "");
  Summary summary(plan.summary_request);
  search.summarize(&summary);
  EXPECT_EQ(summary.lines(), 0u);
}

TEST_F(SearchTest, CancellingWhileWritingStopsTheScans) {
  QueryOptions options;
  options.output = "csv";
  QueryPlan plan = plan_for(options);
  Problems problems(told);
  Search search(plan, problems);
  Search* pointer = &search;
  std::string error;
  ASSERT_TRUE(search.open(false, &error)) << error;
  CancellingWriter out(pointer);
  uint64_t written = search.write_lines(out);
  EXPECT_GT(written, 0u);
  // The first file of 9000 lines stops at its next block, and the files the workers run ahead
  // to stay few: the later files of 9000 lines are never begun.
  EXPECT_LT(written, 27155u - 9000u) << "the scans went on after the cancel";
}

TEST_F(SearchTest, FollowingFromTheEndHandsOnOnlyLinesWrittenLater) {
  std::string file = dir / "accesslog/202403/access_20240312000000.csv";
  // A line still being written when following begins: it is whole later, and then handed on.
  sarvik::testing::append_file(file, "2024/03/12 10:00:00,carol,pc9,192.0.2.9,open_read,ok,docs,x");
  int rounds = 0;
  std::vector<Collected> lines = follow_new_lines(
      [&](const std::vector<Collected>& so_far) {
        if (++rounds == 1) {
          sarvik::testing::append_file(
              file, "1\r\n2024/03/12 10:00:01,carol,pc9,192.0.2.9,open_read,ok,docs,y\r\n");
        }
        return so_far.size() < 2 && rounds < 50;
      },
      /*stopped=*/false);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].text, "2024/03/12 10:00:00,carol,pc9,192.0.2.9,open_read,ok,docs,x1");
  // The file held 34 lines of 34 records with 5 line feeds inside them before.
  EXPECT_EQ(lines[0].line, 40u);
  EXPECT_EQ(lines[1].line, 41u);
  EXPECT_EQ(lines[1].file, "accesslog/202403/access_20240312000000.csv");
}

TEST_F(SearchTest, FollowingEndsWhenTheStopDescriptorIsReadable) {
  int rounds = 0;
  std::vector<Collected> lines =
      follow_new_lines([&](const std::vector<Collected>&) { return ++rounds < 1000; },
                       /*stopped=*/true);
  EXPECT_EQ(rounds, 1);
  EXPECT_TRUE(lines.empty());
}

TEST_F(SearchTest, ProblemsGoToTheFrontEndsSink) {
  QueryOptions options;
  options.kind = "system";
  QueryPlan plan = plan_for(options);
  Problems problems(told);
  Search search(plan, problems);
  std::string error;
  ASSERT_TRUE(search.open(false, &error)) << error;
  EXPECT_EQ(told.messages, std::vector<std::string>{"warning: " + dir.path() +
                                                    "/systemlog does not exist: nothing is "
                                                    "logged there yet"});
  EXPECT_FALSE(problems.failed());
  QueryOptions nowhere;
  nowhere.root = dir / "nowhere";
  QueryPlan missing;
  ASSERT_TRUE(build_query_plan(nowhere, kNow, false, &missing, &error));
  Search lost(missing, problems);
  EXPECT_FALSE(lost.open(false, &error));
  EXPECT_EQ(error.rfind("cannot read the log volume " + dir.path() + "/nowhere: ", 0), 0u) << error;
}

}  // namespace
}  // namespace sarvik::query
