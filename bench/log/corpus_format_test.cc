// Tests that the corpus generator writes what the service writes: layout, bytes, columns, order,
// and needles that the tree bears out. Runs the built log-corpus on a small corpus.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "harness/command.h"
#include "record/record_text.h"
#include "testing/time_zone.h"
#include "tree_text.h"

namespace sarvik::corpus {
namespace {

using ::sarvik::testing::run_command;
using ::sarvik::testing::ScopedTimeZone;

constexpr char kBom[] = "\xEF\xBB\xBF";
// 80000 lines over the month up to 2026-11-02 12:00 UTC: October gets more than one file holds.
constexpr char kEnd[] = "1793620800";
constexpr long kLines = 80000;
constexpr time_t kDay = 86400;

// A generated volume, its tree read whole, and what the generator printed.
struct Corpus {
  MemoryDir dir;
  int status = -1;
  std::string error;
  std::map<std::string, std::string> printed;
  std::map<std::string, TreeEntry> tree;
};

// Runs the generator into a fresh directory with `options` added to its root.
void generate(Corpus* corpus, const std::vector<std::string>& options) {
  std::vector<std::string> argv = {LOG_CORPUS_PATH, "--root", corpus->dir / "volume"};
  argv.insert(argv.end(), options.begin(), options.end());
  auto result = run_command(argv);
  corpus->status = result.status;
  corpus->error = result.err;
  size_t pos = 0;
  while (pos < result.out.size()) {
    size_t end = result.out.find('\n', pos);
    std::string line = result.out.substr(pos, end - pos);
    pos = end == std::string::npos ? result.out.size() : end + 1;
    size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    std::string value = line.substr(equals + 1);
    if (value.size() >= 2 && value.front() == '\'') value = value.substr(1, value.size() - 2);
    corpus->printed[line.substr(0, equals)] = value;
  }
  corpus->tree = read_tree(corpus->dir / "volume");
}

// The lines of a log file without the mark and the CR LF; empty when the file is not whole.
std::vector<std::string> lines_of(const std::string& content) {
  std::vector<std::string> lines;
  size_t pos = content.compare(0, 3, kBom) == 0 ? 3 : 0;
  while (pos < content.size()) {
    size_t end = content.find("\r\n", pos);
    if (end == std::string::npos) return {};
    lines.push_back(content.substr(pos, end - pos));
    pos = end + 2;
  }
  return lines;
}

bool is_digits(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), ::isdigit);
}

// "YYYY/MM/DD hh:mm:ss" as its fourteen digits, or empty when the text is not of that form.
std::string time_digits(const std::string& text) {
  static const std::string form = "dddd/dd/dd dd:dd:dd";
  if (text.size() != form.size()) return "";
  std::string digits;
  for (size_t i = 0; i < form.size(); ++i) {
    if (form[i] == 'd' ? !isdigit(static_cast<unsigned char>(text[i])) : text[i] != form[i]) {
      return "";
    }
    if (form[i] == 'd') digits += text[i];
  }
  return digits;
}

bool is_utf8(const std::string& text) {
  for (size_t i = 0; i < text.size();) {
    unsigned char c = text[i];
    size_t more = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : 9;
    if (more == 9 || i + more >= text.size() + (more == 0)) return false;
    for (size_t k = 1; k <= more; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) >> 6) != 2) return false;
    }
    i += more + 1;
  }
  return true;
}

bool is_ipv4(const std::string& text) {
  int parts = 0;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t dot = std::min(text.find('.', pos), text.size());
    std::string part = text.substr(pos, dot - pos);
    if (!is_digits(part) || part.size() > 3 || std::stoi(part) > 255) return false;
    ++parts;
    pos = dot + 1;
  }
  return parts == 4;
}

// The columns of an access line; everything after the seventh comma is the path.
std::vector<std::string> columns(const std::string& line) {
  std::vector<std::string> fields;
  size_t pos = 0;
  while (fields.size() < 7) {
    size_t comma = line.find(',', pos);
    if (comma == std::string::npos) break;
    fields.push_back(line.substr(pos, comma - pos));
    pos = comma + 1;
  }
  fields.push_back(line.substr(pos));
  return fields;
}

// The files of one log, in the order of their lines.
std::vector<std::pair<std::string, std::string>> files_of(const Corpus& corpus,
                                                          const std::string& log) {
  std::vector<std::pair<std::string, std::string>> files;
  for (const auto& [path, entry] : corpus.tree) {
    if (!entry.directory && path.compare(0, log.size() + 1, log + "/") == 0) {
      files.push_back({path, entry.content});
    }
  }
  return files;
}

std::vector<std::string> access_lines(const Corpus& corpus) {
  std::vector<std::string> all;
  for (const auto& file : files_of(corpus, "accesslog")) {
    for (std::string& line : lines_of(file.second)) all.push_back(std::move(line));
  }
  return all;
}

// Expects each file's stamp to be the time of its first line and its directory to be the
// stamp's month; returns the number of files.
int expect_stamps_of_first_lines(const Corpus& corpus) {
  int files = 0;
  for (const auto& [path, entry] : corpus.tree) {
    if (entry.directory) continue;
    std::vector<std::string> lines = lines_of(entry.content);
    std::string stamp = path.substr(path.size() - 18, 14);
    EXPECT_TRUE(!lines.empty() && time_digits(lines[0].substr(0, 19)) == stamp) << path;
    EXPECT_EQ(path.substr(path.find('/') + 1, 6), stamp.substr(0, 6)) << path;
    ++files;
  }
  return files;
}

class LogCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    generate(&corpus, {"--lines", std::to_string(kLines), "--months", "1", "--end", kEnd});
    ASSERT_EQ(corpus.status, 0) << corpus.error;
  }

  ScopedTimeZone zone{testing::kUtc};
  Corpus corpus;
};

TEST_F(LogCorpus, LaysOutTheThreeLogsInMonthDirectoriesOfStampedFiles) {
  std::set<std::string> logs;
  const std::map<std::string, std::string> prefixes = {
      {"accesslog", "access_"}, {"systemlog", "system_"}, {"alertlog", "alert_"}};
  for (const auto& [path, entry] : corpus.tree) {
    std::vector<std::string> parts;
    for (size_t pos = 0; pos <= path.size();) {
      size_t slash = std::min(path.find('/', pos), path.size());
      parts.push_back(path.substr(pos, slash - pos));
      pos = slash + 1;
    }
    ASSERT_TRUE(prefixes.count(parts[0])) << path;
    logs.insert(parts[0]);
    if (parts.size() == 1) continue;
    EXPECT_TRUE(parts[1].size() == 6 && is_digits(parts[1])) << path;
    EXPECT_EQ(entry.directory, parts.size() < 3) << path;
    EXPECT_EQ(entry.mode, entry.directory ? 0777 : 0666) << path;
    if (parts.size() < 3) continue;
    ASSERT_EQ(parts.size(), 3u) << path;
    const std::string& prefix = prefixes.at(parts[0]);
    const std::string& name = parts[2];
    ASSERT_EQ(name.size(), prefix.size() + 14 + 4) << path;
    EXPECT_EQ(name.substr(0, prefix.size()), prefix) << path;
    EXPECT_TRUE(is_digits(name.substr(prefix.size(), 14))) << path;
    EXPECT_EQ(name.substr(prefix.size() + 14), ".csv") << path;
    EXPECT_EQ(name.substr(prefix.size(), 6), parts[1]) << path << " lies in another month";
  }
  EXPECT_EQ(logs.size(), 3u);
}

TEST_F(LogCorpus, StartsEachFileWithTheMarkAndEndsEachLineInCrLf) {
  int files = 0;
  for (const auto& [path, entry] : corpus.tree) {
    if (entry.directory) continue;
    ++files;
    const std::string& content = entry.content;
    EXPECT_EQ(content.compare(0, 3, kBom), 0) << path;
    EXPECT_EQ(content.find(kBom, 3), std::string::npos) << path;
    ASSERT_GE(content.size(), 5u) << path;
    EXPECT_EQ(content.substr(content.size() - 2), "\r\n") << path;
    for (size_t pos = 0; (pos = content.find_first_of("\r\n", pos)) != std::string::npos;
         pos += 2) {
      ASSERT_EQ(content.compare(pos, 2, "\r\n"), 0) << path << " has a bare CR or LF at " << pos;
    }
  }
  EXPECT_GE(files, 6);
}

TEST_F(LogCorpus, SpillsAMonthIntoANewFileAfter65535Lines) {
  std::string full_file;
  for (const auto& [path, entry] : corpus.tree) {
    if (entry.directory) continue;
    size_t lines = lines_of(entry.content).size();
    EXPECT_LE(lines, 65535u) << path;
    if (lines == 65535) full_file = path;
  }
  ASSERT_FALSE(full_file.empty()) << "no month filled a file";
  auto next = std::next(corpus.tree.find(full_file));
  ASSERT_NE(next, corpus.tree.end());
  EXPECT_EQ(next->first.substr(0, 17), full_file.substr(0, 17)) << "not in the same month";
}

TEST_F(LogCorpus, StampsEachFileWithTheTimeOfItsFirstLine) {
  EXPECT_GE(expect_stamps_of_first_lines(corpus), 6);
}

TEST_F(LogCorpus, KeepsAccessAndAlertTimesInOrderWithinTheSpan) {
  std::string first = format_time(std::stol(corpus.printed["start"]));
  std::string last = format_time(std::stol(corpus.printed["end"]));
  for (const char* log : {"accesslog", "alertlog"}) {
    std::string previous = first;
    size_t count = 0;
    for (const auto& file : files_of(corpus, log)) {
      for (const std::string& line : lines_of(file.second)) {
        std::string time = line.substr(0, 19);
        ASSERT_FALSE(time_digits(time).empty()) << line;
        ASSERT_LE(previous, time) << file.first << ": " << line;
        previous = time;
        ++count;
      }
    }
    EXPECT_LE(previous, last) << log;
    EXPECT_GT(count, 0u) << log;
  }
}

TEST_F(LogCorpus, WritesAccessLinesInTheServiceColumns) {
  const std::set<std::string> operations = {"open_read", "open_write", "close", "delete",
                                            "rename",    "mkdir",      "rmdir"};
  std::map<std::string, long> by_user;
  long with_comma = 0, beyond_ascii = 0, bytes = 0, failed = 0;
  std::vector<std::string> lines = access_lines(corpus);
  ASSERT_EQ(static_cast<long>(lines.size()), kLines);
  for (const std::string& line : lines) {
    std::vector<std::string> fields = columns(line);
    ASSERT_EQ(fields.size(), 8u) << line;
    EXPECT_FALSE(time_digits(fields[0]).empty()) << line;
    const std::string& user = fields[1];
    EXPECT_TRUE(!user.empty() && std::none_of(user.begin(), user.end(), ::isupper)) << line;
    EXPECT_FALSE(fields[2].empty()) << line;
    EXPECT_TRUE(is_ipv4(fields[3])) << line;
    EXPECT_TRUE(operations.count(fields[4])) << line;
    const std::string& result = fields[5];
    bool fail = result.compare(0, 6, "fail (") == 0 && result.back() == ')';
    EXPECT_TRUE(result == "ok" || fail) << line;
    EXPECT_FALSE(fields[6].empty()) << line;
    EXPECT_FALSE(fields[7].empty()) << line;
    EXPECT_TRUE(is_utf8(line)) << line;
    ++by_user[user];
    with_comma += fields[7].find(',') != std::string::npos;
    beyond_ascii += std::any_of(line.begin(), line.end(), [](char c) { return c & 0x80; });
    failed += fail;
    bytes += static_cast<long>(line.size()) + 2;
  }
  // Some paths hold commas and some letters beyond ASCII; a few operations fail.
  EXPECT_GT(with_comma, kLines / 200);
  EXPECT_LT(with_comma, kLines / 10);
  EXPECT_GT(beyond_ascii, kLines / 100);
  EXPECT_LT(beyond_ascii, kLines / 5);
  EXPECT_GT(failed, kLines / 500);
  EXPECT_LT(failed, kLines / 10);
  EXPECT_GT(bytes / kLines, 80);
  EXPECT_LT(bytes / kLines, 100);
  // Some hundreds of people, a few of them much busier than most.
  std::vector<long> counts;
  for (const auto& entry : by_user) counts.push_back(entry.second);
  std::sort(counts.rbegin(), counts.rend());
  EXPECT_GT(counts.size(), 150u);
  EXPECT_GT(counts.front(), 10 * counts[counts.size() / 2]);
}

TEST_F(LogCorpus, PrintsNeedlesThatTheTreeBearsOut) {
  std::map<std::string, std::string>& printed = corpus.printed;
  std::string recent = format_time(std::stol(printed["end"]) - 30 * kDay);
  std::string month = printed["month_first"].substr(0, 7);
  std::replace(month.begin(), month.end(), '-', '/');
  long path = 0, user_day = 0, in_month = 0, rare = 0, host = 0, failures = 0;
  std::set<std::string> month_users;
  for (const std::string& line : access_lines(corpus)) {
    std::vector<std::string> fields = columns(line);
    if (line.find(printed["path_fragment"]) != std::string::npos) {
      ++path;
      EXPECT_GE(fields[0], recent) << line;
    }
    user_day +=
        fields[1] == printed["user"] && fields[0].compare(0, 10, printed["day_logged"]) == 0;
    if (fields[0].compare(0, 7, month) == 0) {
      ++in_month;
      month_users.insert(fields[1]);
    }
    rare += line.find(printed["rare_string"]) != std::string::npos;
    host += fields[2] == printed["host"];
    failures += fields[6] == printed["failed_share"] && fields[5].compare(0, 4, "fail") == 0;
  }
  EXPECT_GT(path, 0);
  EXPECT_EQ(std::to_string(path), printed["path_lines"]);
  EXPECT_GT(user_day, 0);
  EXPECT_EQ(std::to_string(user_day), printed["user_day_lines"]);
  EXPECT_EQ(printed["day_month_dir"],
            printed["day_logged"].substr(0, 4) + printed["day_logged"].substr(5, 2));
  EXPECT_GT(in_month, 0);
  EXPECT_EQ(std::to_string(in_month), printed["month_lines"]);
  EXPECT_EQ(std::to_string(month_users.size()), printed["month_users"]);
  EXPECT_EQ(printed["month_dir"], month.substr(0, 4) + month.substr(5, 2));
  EXPECT_GT(rare, 0);
  EXPECT_LE(rare, 30);
  EXPECT_EQ(std::to_string(rare), printed["rare_lines"]);
  EXPECT_GT(host, 0);
  EXPECT_EQ(std::to_string(host), printed["host_lines"]);
  EXPECT_GT(failures, 0);
  EXPECT_EQ(std::to_string(failures), printed["share_failures"]);
  EXPECT_EQ(printed["access_lines"], std::to_string(kLines));
}

TEST_F(LogCorpus, CopiesAlertLinesFromTheAccessLog) {
  std::vector<std::string> all = access_lines(corpus);
  std::set<std::string> access(all.begin(), all.end());
  long alerts = 0;
  for (const auto& file : files_of(corpus, "alertlog")) {
    for (const std::string& line : lines_of(file.second)) {
      EXPECT_TRUE(access.count(line)) << line;
      ++alerts;
    }
  }
  EXPECT_GT(alerts, 0);
  EXPECT_EQ(std::to_string(alerts), corpus.printed["alert_lines"]);
}

TEST_F(LogCorpus, WritesSystemLinesOfATimeAndThreeTexts) {
  long lines = 0;
  for (const auto& file : files_of(corpus, "systemlog")) {
    for (const std::string& line : lines_of(file.second)) {
      EXPECT_FALSE(time_digits(line.substr(0, 19)).empty()) << line;
      EXPECT_GE(std::count(line.begin(), line.end(), ','), 3) << line;
      ++lines;
    }
  }
  EXPECT_GT(lines, 150);
  EXPECT_EQ(std::to_string(lines), corpus.printed["system_lines"]);
}

TEST_F(LogCorpus, RefusesAVolumeThatHoldsLogsAlready) {
  auto again = run_command({LOG_CORPUS_PATH, "--root", corpus.dir / "volume", "--lines", "10"});
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.err.find("exists already"), std::string::npos) << again.err;
}

TEST(LogCorpusSeed, GivesTheSameBytesForTheSameSeedAndOthersForAnother) {
  ScopedTimeZone zone(testing::kUtc);
  Corpus one, same, other;
  std::vector<std::string> options = {"--lines", "5000", "--months", "2", "--end", kEnd};
  generate(&one, options);
  generate(&same, options);
  options.insert(options.end(), {"--seed", "2"});
  generate(&other, options);
  ASSERT_GT(one.tree.size(), 6u);
  EXPECT_TRUE(one.tree.size() == same.tree.size() &&
              std::equal(one.tree.begin(), one.tree.end(), same.tree.begin(),
                         [](const auto& a, const auto& b) {
                           return a.first == b.first && a.second.content == b.second.content;
                         }));
  // All that is printed is the same, but for the time the writing took.
  one.printed.erase("seconds");
  same.printed.erase("seconds");
  EXPECT_EQ(one.printed, same.printed);
  EXPECT_NE(one.tree.rbegin()->second.content, other.tree.rbegin()->second.content);
}

TEST(LogCorpusZone, StampsFilesInLocalTimeAcrossTheStartOfDaylightSaving) {
  // March 2026 in Berlin; clocks go forward on the 29th.
  ScopedTimeZone zone(testing::kBerlin);
  Corpus corpus;
  generate(&corpus, {"--lines", "20000", "--months", "1", "--end", "1774958400"});
  ASSERT_EQ(corpus.status, 0) << corpus.error;
  EXPECT_GE(expect_stamps_of_first_lines(corpus), 3);
  // 14:00 in Berlin, summer time, is the end of the span.
  EXPECT_EQ(format_time(std::stol(corpus.printed["end"])), "2026/03/31 14:00:00");
}

}  // namespace
}  // namespace sarvik::corpus
