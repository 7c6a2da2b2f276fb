// Test helper: log trees with lines of every kind that the index must get right, the queries
// over them run with and without the block index, and the index built for them.
#include "index_fixture.h"

#include <cstdio>

#include "logstore/log_kinds.h"
#include "testing/file_text.h"

namespace sarvik::query::testing {

using ::sarvik::testing::make_dirs;
using ::sarvik::testing::write_file;

namespace {

// 2024-04-01 00:00:00 UTC: after the tree's last line.
constexpr time_t kNow = 1711929600;

const char* const kUsers[] = {"alice", "bob", "carol", "dave", "Erin", "backup", "mallory"};
const char* const kHosts[] = {"pc1", "pc2", "pc-417", "nb-erin", "srv"};
const char* const kAddresses[] = {"192.0.2.7",   "192.0.2.8",        "198.51.100.4",
                                  "2001:db8::5", "::ffff:192.0.2.9", "not-an-address"};
const char* const kOperations[] = {"open_read", "open_write", "close", "delete", "rename", "mkdir"};
const char* const kResults[] = {
    "ok", "ok", "ok", "fail (Permission denied)", "fail", "fail (No such file or directory)"};
const char* const kShares[] = {"docs", "finance", "hr", "homes", "public"};
const char* const kWords[] = {"report",        "budget", "landing_v7", "Q3",  "draft",
                              "M\xC3\xBCller", "readme", "x",          "tmp", "plan,final"};
// Found in about one line in a thousand.
constexpr char kRareWord[] = "severance_7731";

template <typename T, size_t N>
const char* pick(std::mt19937& random, T (&values)[N]) {
  return values[random() % N];
}

// One line of a file, at `second` of the day `day` of the month: mostly a record as the
// service writes it, now and then a line that the reader must treat with care.
std::string random_line(std::mt19937& random, const std::string& month, int day, int second) {
  char time[32];
  snprintf(time, sizeof time, "%s/%s/%02d %02d:%02d:%02d", month.substr(0, 4).c_str(),
           month.substr(4).c_str(), day, second / 3600 % 24, second / 60 % 60, second % 60);
  int odd = static_cast<int>(random() % 1000);
  if (odd == 0) return "no time at all,alice,pc1";          // no readable time
  if (odd == 1) return std::string(time) + ",few,columns";  // too few columns
  std::string user = pick(random, kUsers);
  if (odd == 2) user = "smith,john";  // a comma that moves the columns
  std::string path = std::string(pick(random, kWords)) + "/" +
                     (random() % 1000 == 0 ? kRareWord : pick(random, kWords));
  if (odd == 3) path += "\nsecond line of the same record";
  return std::string(time) + "," + user + "," + pick(random, kHosts) + "," +
         pick(random, kAddresses) + "," + pick(random, kOperations) + "," + pick(random, kResults) +
         "," + pick(random, kShares) + "," + path;
}

}  // namespace

std::vector<std::string> IndexFixture::write_random_tree(std::mt19937& random, size_t files) {
  const std::string months[] = {"202401", "202402", "202403"};
  std::vector<std::string> written;
  for (size_t file = 0; file < files; ++file) {
    const std::string& month = months[file * 3 / files];
    int day = 1 + static_cast<int>(file % 9) * 3;
    char name[64];
    snprintf(name, sizeof name, "access_%s%02d000000.csv", month.c_str(), day);
    std::string content = "\xEF\xBB\xBF";
    size_t lines = 200 + random() % 2500;
    int second = 0;
    for (size_t line = 0; line < lines; ++line) {
      second += static_cast<int>(random() % 40);
      // Now and then the clock steps back an hour.
      int shown = random() % 500 == 0 ? std::max(0, second - 3600) : second;
      content += random_line(random, month, day + shown / 86400, shown % 86400) + "\r\n";
    }
    make_dirs(volume() + "/accesslog/" + month);
    write_file(log_file(month, name), content);
    written.push_back(month + "/" + name);
  }
  return written;
}

void IndexFixture::write_random_system_tree(std::mt19937& random, size_t files) {
  const char* const texts[] = {"backup",       "started", "disk sda sector 7", "Usb",
                               "mount failed", "ok",      "temperature high"};
  for (size_t file = 0; file < files; ++file) {
    std::string month = file < files / 2 ? "202401" : "202402";
    char name[64];
    snprintf(name, sizeof name, "system_%s%02d000000.csv", month.c_str(), 1 + int(file));
    std::string content = "\xEF\xBB\xBF";
    for (size_t line = 0, lines = 300 + random() % 1500; line < lines; ++line) {
      // The clients' own times: any day of the month, in any order.
      char time[32];
      snprintf(time, sizeof time, "%s/%s/%02d %02d:%02d:%02d", month.substr(0, 4).c_str(),
               month.substr(4).c_str(), 1 + int(random() % 28), int(random() % 24),
               int(random() % 60), int(random() % 60));
      // Now and then no time, or a text with a comma: lines that the scan counts apart.
      std::string text = random() % 3000 == 0 ? "no time," : std::string(time) + ",";
      if (random() % 2000 == 0) text += "mount,failed,";
      text += std::string(pick(random, texts)) + "," + pick(random, texts) + "," +
              (random() % 4000 == 0 ? "severance_7731" : pick(random, texts));
      content += text + "\r\n";
    }
    make_dirs(volume() + "/systemlog/" + month);
    write_file(volume() + "/systemlog/" + month + "/" + name, content);
  }
}

QueryPlan IndexFixture::plan_for(QueryOptions options) const {
  options.root = volume();
  if (options.output.empty()) options.output = "json";
  QueryPlan plan;
  std::string error;
  EXPECT_TRUE(build_query_plan(options, kNow, /*terminal=*/false, &plan, &error)) << error;
  return plan;
}

Answer IndexFixture::ask(const QueryPlan& plan, bool indexed, bool paged, uid_t owner) const {
  Answer answer;
  std::optional<LogPosition> next;
  size_t pages = 0;
  do {
    CollectingProblems told;
    Problems problems(told);
    Search search(plan, problems);
    std::string error;
    EXPECT_TRUE(search.open(/*follow=*/false, &error)) << error;
    if (indexed) search.use_index(cache(), owner);
    CollectingWriter out;
    if (plan.summary) {
      Summary summary(plan.summary_request);
      search.summarize(&summary);
      summary.print(plan.form, false, 80, out);
    } else {
      std::optional<LogPosition> from = next;
      next.reset();
      search.write_lines(out, from ? &*from : nullptr, paged ? &next : nullptr);
      answer.cuts.push_back(next);
    }
    answer.text += out.text;
    for (std::string& message : told.messages) answer.messages.push_back(std::move(message));
    IndexUse use = search.index_use();
    answer.use.files_indexed += use.files_indexed;
    answer.use.files_whole += use.files_whole;
    answer.use.blocks_read += use.blocks_read;
    answer.use.blocks_total += use.blocks_total;
    answer.to_index = search.files_to_index();
  } while (paged && next && ++pages < 10000);
  return answer;
}

uint64_t IndexFixture::build_all(const LogKind& kind) {
  LogTree tree(volume(), kind);
  std::string error;
  EXPECT_TRUE(tree.open(&error)) << error;
  IndexStore store(cache(), geteuid());
  char* resolved = realpath(volume().c_str(), nullptr);
  std::string canonical = resolved;
  free(resolved);
  EXPECT_TRUE(store.open(canonical, kind, /*create=*/true));
  CollectingProblems told;
  Problems problems(told);
  return build_indexes(tree, store, closed_files(tree, problems)).built;
}

}  // namespace sarvik::query::testing
