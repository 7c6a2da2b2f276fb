// Tests of a whole query with its workers side by side: the output in file order however the
// work is shared, rules tested on every worker, and the exit status.
#include "log/query_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/text_count.h"
#include "testing/time_zone.h"

namespace sarvik::query {
namespace {

using ::sarvik::log_tool::run_query;

using ::sarvik::testing::kUtc;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

// 2024-03-04 12:34:56 UTC.
constexpr time_t kNow = 1709555696;

class QueryRunTest : public ::testing::Test {
 protected:
  // Forty files over two months, of very different sizes, so that workers overtake each other;
  // every line numbered in the order of the files.
  void SetUp() override {
    int number = 0;
    for (int file = 0; file < 40; ++file) {
      std::string month = file < 20 ? "202402" : "202403";
      char name[64];
      snprintf(name, sizeof name, "access_%s%02d%02d0000.csv", month.c_str(), 1 + file % 20,
               file % 24);
      std::string content = "\xEF\xBB\xBF";
      int lines = file % 7 == 0 ? 20000 : file % 3;
      for (int line = 0; line < lines; ++line, ++number) {
        char text[160];
        snprintf(text, sizeof text,
                 "%s/%s/%02d %02d:%02d:%02d,%s,pc1,192.0.2.7,open_read,ok,docs,n%d\r\n",
                 month.substr(0, 4).c_str(), month.substr(4).c_str(), 1 + file % 20, file % 24,
                 line / 60 % 60, line % 60, number % 5 == 0 ? "alice" : "bob", number);
        content += text;
      }
      make_dirs(dir / ("accesslog/" + month));
      write_file(dir / ("accesslog/" + month + "/" + name), content);
    }
    total = number;
  }

  // Runs the query with standard output into a file; its exit status and that output.
  std::pair<int, std::string> run(QueryOptions options) {
    options.root = dir.path();
    std::string out_path = dir / "out";
    int out = open(out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int saved = dup(STDOUT_FILENO);
    dup2(out, STDOUT_FILENO);
    int status = run_query(options, kNow);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    close(out);
    return {status, read_file(out_path)};
  }

  ScopedTimeZone zone{kUtc};
  TempDir dir;
  int total = 0;
};

// The numbers of the lines in the output, in its order.
std::vector<int> numbers_in(const std::string& output) {
  std::vector<int> numbers;
  // Digit by digit: strtol would measure the rest of the output for every line.
  for (size_t at = output.find(",n"); at != std::string::npos; at = output.find(",n", at + 2)) {
    int number = 0;
    for (size_t i = at + 2;
         i < output.size() && std::isdigit(static_cast<unsigned char>(output[i])); ++i) {
      number = number * 10 + (output[i] - '0');
    }
    numbers.push_back(number);
  }
  return numbers;
}

TEST_F(QueryRunTest, WritesEveryLineOnceInFileOrder) {
  auto [status, output] = run(QueryOptions());
  EXPECT_EQ(status, 0);
  std::vector<int> numbers = numbers_in(output);
  ASSERT_EQ(static_cast<int>(numbers.size()), total);
  for (int i = 0; i < total; ++i) ASSERT_EQ(numbers[i], i);
  EXPECT_EQ(output.rfind("time,user,host,ip,op,result,share,path\n", 0), 0u);
}

TEST_F(QueryRunTest, BackwardAndLimitedTheSame) {
  QueryOptions options;
  options.reverse = true;
  options.filters.users = {"alice"};
  options.limit = 10000;
  auto [status, output] = run(options);
  EXPECT_EQ(status, 0);
  std::vector<int> numbers = numbers_in(output);
  ASSERT_EQ(numbers.size(), 10000u);
  int expected = (total - 1) / 5 * 5;  // the last of alice's lines
  for (int number : numbers) {
    ASSERT_EQ(number, expected);
    expected -= 5;
  }
}

TEST_F(QueryRunTest, CountsOnEveryWorker) {
  QueryOptions options;
  options.count = true;
  options.filters.users = {"alice"};
  auto [status, output] = run(options);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(output, std::to_string((total + 4) / 5) + "\n");
  options.filters.users = {"nobody"};
  EXPECT_EQ(run(options), std::make_pair(1, std::string("0\n")));
}

TEST_F(QueryRunTest, RulesOnEveryWorker) {
  write_file(dir / "config.xml",
             "<config><alertlist><alert><name>alice-reads</name><period><weekdays "
             "sun=\"true\" mon=\"true\" tue=\"true\" wed=\"true\" thu=\"true\" fri=\"true\" "
             "sat=\"true\"/></period><usernamelist><username>alice</username></usernamelist>"
             "<operationlist><operation type=\"open_read\" enable=\"true\"/></operationlist>"
             "</alert></alertlist></config>");
  QueryOptions options;
  options.settings = dir / "config.xml";
  options.all_rules = true;
  auto [status, output] = run(options);
  EXPECT_EQ(status, 0);
  std::vector<int> numbers = numbers_in(output);
  ASSERT_EQ(static_cast<int>(numbers.size()), (total + 4) / 5);
  for (size_t i = 0; i < numbers.size(); ++i) ASSERT_EQ(numbers[i], static_cast<int>(i) * 5);
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1 + (total + 4) / 5);
  EXPECT_EQ(static_cast<int>(sarvik::testing::count_of(output, ",alice-reads\n")), (total + 4) / 5);
}

TEST_F(QueryRunTest, AVolumeThatCannotBeReadIsAnError) {
  QueryOptions options;
  options.root = dir / "nowhere";
  EXPECT_EQ(run_query(options, kNow), 2);
}

}  // namespace
}  // namespace sarvik::query
