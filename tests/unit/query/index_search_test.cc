// Tests of queries read through the block index: every answer is the scan's, byte for byte,
// whatever the filters, the direction and the pages; a file that changed after its index was
// built, an index that is damaged or not the user's own, and the current file are scanned.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "index_fixture.h"
#include "logstore/log_kinds.h"
#include "query/index_builder.h"
#include "query/index_format.h"
#include "testing/file_text.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::append_file;
using ::sarvik::testing::list_dir;
using ::sarvik::testing::read_file;
using ::sarvik::testing::write_file;
using testing::Answer;
using testing::CollectingProblems;
using testing::IndexFixture;

// A random query: one to three filters of the kinds the index narrows, sometimes a time range,
// sometimes newest first, numbered lines or CSV or a summary.
QueryOptions random_query(std::mt19937& random) {
  auto one_of = [&](std::initializer_list<const char*> values) {
    return std::string(*(values.begin() + random() % values.size()));
  };
  QueryOptions o;
  FilterValues& f = o.filters;
  size_t filters = 1 + random() % 3;
  for (size_t i = 0; i < filters; ++i) {
    switch (random() % 9) {
      case 0:
        f.users.push_back(one_of({"alice", "ERIN", "bob", "nobody", "smith"}));
        break;
      case 1:
        f.hosts.push_back(one_of({"pc-417", "pc1", "srv", "none"}));
        break;
      case 2:
        f.shares.push_back(one_of({"hr", "finance", "docs"}));
        break;
      case 3:
        f.results.push_back(one_of({"ok", "fail"}));
        break;
      case 4:
        f.operations.push_back(one_of({"delete", "open_*", "rename"}));
        break;
      case 5:
        f.addresses.push_back(one_of({"192.0.2.0/24", "2001:db8::/32", "192.0.2.9"}));
        break;
      case 6:
        f.paths.push_back(one_of(
            {"severance", "landing_v7", "*.x", "m\xC3\xBCller/*", "Q3", "ab", "plan,final"}));
        break;
      case 7:
        f.greps.push_back(
            one_of({"severance_7731", "draft/[a-z]+", "second line", "7731,", "alice|bob", "Q3"}));
        break;
      case 8:
        o.since = one_of({"2024-01-10", "2024-02-01 12:00", "2024-03-05"});
        if (random() % 2) o.until = one_of({"2024-02-20", "2024-03-20 06:00:00"});
        break;
    }
  }
  o.reverse = random() % 3 == 0;
  switch (random() % 4) {
    case 0:
      o.output = "csv";
      break;
    case 1:
      o.count = !o.reverse;
      break;
    case 2:
      if (!o.reverse) o.stats = "user,share";
      break;
  }
  // Pages of a few hundred lines: each page is a search of its own.
  if (random() % 3 == 0 && !o.count && o.stats.empty()) o.limit = 100 + random() % 400;
  return o;
}

std::string describe(const QueryOptions& o) {
  std::string text;
  auto add = [&](const char* name, const std::vector<std::string>& values) {
    for (const std::string& value : values) text += std::string(" ") + name + " '" + value + "'";
  };
  const FilterValues& f = o.filters;
  add("--user", f.users);
  add("--host", f.hosts);
  add("--share", f.shares);
  add("--result", f.results);
  add("--op", f.operations);
  add("--ip", f.addresses);
  add("--path", f.paths);
  add("--grep", f.greps);
  add("--text", f.texts);
  if (!o.since.empty()) text += " --since '" + o.since + "'";
  if (!o.until.empty()) text += " --until '" + o.until + "'";
  if (o.reverse) text += " --reverse";
  if (o.count) text += " --count";
  if (!o.stats.empty()) text += " --stats " + o.stats;
  if (o.limit != 0) text += " --limit " + std::to_string(o.limit);
  text += " --output " + (o.output.empty() ? std::string("json") : o.output);
  return text;
}

void expect_same(const Answer& indexed, const Answer& scanned, const std::string& what) {
  EXPECT_EQ(indexed.text, scanned.text) << what;
  // Under a limit the workers stop where they have got to when the output closes, so how many
  // lines they left out with a warning depends on their timing, with or without the index.
  if (indexed.cuts.empty() || !indexed.cuts[0]) {
    EXPECT_EQ(indexed.messages, scanned.messages) << what;
  }
  ASSERT_EQ(indexed.cuts.size(), scanned.cuts.size()) << what;
  for (size_t i = 0; i < indexed.cuts.size(); ++i) {
    ASSERT_EQ(indexed.cuts[i].has_value(), scanned.cuts[i].has_value()) << what;
    if (!indexed.cuts[i]) continue;
    EXPECT_EQ(indexed.cuts[i]->name, scanned.cuts[i]->name) << what;
    EXPECT_EQ(indexed.cuts[i]->at.offset, scanned.cuts[i]->at.offset) << what;
    EXPECT_EQ(indexed.cuts[i]->at.next_line, scanned.cuts[i]->at.next_line) << what;
  }
}

TEST_F(IndexFixture, RandomQueriesAnswerAsTheScanWithAndWithoutTheIndex) {
  std::mt19937 random(23);
  for (int tree = 0; tree < 2; ++tree) {
    ::sarvik::testing::remove_tree(volume());
    ::sarvik::testing::remove_tree(cache());
    write_random_tree(random, 6 + tree * 3);
    ASSERT_GT(build_all(), 0u);
    uint64_t read = 0, total = 0;
    for (int query = 0; query < 50; ++query) {
      QueryOptions options = random_query(random);
      QueryPlan plan = plan_for(options);
      bool paged = options.limit != 0;
      Answer scanned = ask(plan, /*indexed=*/false, paged);
      Answer indexed = ask(plan, /*indexed=*/true, paged);
      expect_same(indexed, scanned, describe(options));
      read += indexed.use.blocks_read;
      total += indexed.use.blocks_total;
    }
    // The index was used, and it left blocks out: the answers above are not the scan's twice.
    EXPECT_GT(total, 0u);
    EXPECT_LT(read, total);
  }
}

TEST_F(IndexFixture, SystemLinesAnswerAsTheScanWithAndWithoutTheIndex) {
  std::mt19937 random(17);
  write_random_system_tree(random, 6);
  ASSERT_EQ(build_all(kSystemLog), 5u);
  uint64_t read = 0, total = 0;
  for (int query = 0; query < 25; ++query) {
    QueryOptions options;
    options.kind = "system";
    switch (random() % 4) {
      case 0:
        options.filters.texts = {random() % 2 ? "severance_7731" : "*sector*"};
        break;
      case 1:
        options.filters.greps = {random() % 2 ? "mount,failed" : "usb|disk"};
        if (random() % 2) options.filters.greps.push_back("sector [0-9]");
        break;
      case 2:
        options.filters.texts = {"backup", "Usb"};
        options.since = "2024-01-10";
        options.until = "2024-02-05";
        break;
      case 3:
        options.since = "2024-02-20";
        break;
    }
    options.reverse = random() % 2 == 0;
    if (random() % 3 == 0) options.limit = 100 + random() % 400;
    QueryPlan plan = plan_for(options);
    bool paged = options.limit != 0;
    Answer indexed = ask(plan, /*indexed=*/true, paged);
    expect_same(indexed, ask(plan, /*indexed=*/false, paged), describe(options) + " (system)");
    read += indexed.use.blocks_read;
    total += indexed.use.blocks_total;
  }
  EXPECT_GT(total, 0u);
  EXPECT_LT(read, total);
}

TEST_F(IndexFixture, EachPageOfARareStringReadsFewBlocksAndJoinsUpToTheScan) {
  std::mt19937 random(7);
  write_random_tree(random, 9);
  build_all();
  for (bool reverse : {false, true}) {
    QueryOptions options;
    options.filters.greps = {"severance_7731"};
    options.reverse = reverse;
    options.limit = 2;
    QueryPlan plan = plan_for(options);
    Answer scanned = ask(plan, /*indexed=*/false, /*paged=*/true);
    Answer indexed = ask(plan, /*indexed=*/true, /*paged=*/true);
    expect_same(indexed, scanned, reverse ? "newest first" : "oldest first");
    EXPECT_GT(indexed.cuts.size(), 3u);
    EXPECT_LT(indexed.use.blocks_read * 3, indexed.use.blocks_total);
  }
}

// The closed files' paths, oldest first; the last file of the tree is current.
class ChangedFileTest : public IndexFixture {
 protected:
  void SetUp() override {
    std::mt19937 random(5);
    files = write_random_tree(random, 4);
    ASSERT_EQ(build_all(), 3u);
    path = volume() + "/accesslog/" + files[1];
  }
  // The answer of a question whose lines lie in every file, with and without the index.
  void expect_scan_answer(const std::string& what) {
    QueryOptions options;
    options.filters.users = {"alice"};
    options.filters.greps = {"report"};
    QueryPlan plan = plan_for(options);
    Answer indexed = ask(plan, /*indexed=*/true);
    expect_same(indexed, ask(plan, /*indexed=*/false), what);
    ASSERT_EQ(indexed.to_index.size(), 1u) << what;
    EXPECT_EQ(indexed.to_index[0].month + "/" + indexed.to_index[0].name, files[1]) << what;
    EXPECT_EQ(indexed.use.files_indexed, 2u) << what;  // the other closed files
  }
  // Sets the file's times back to those it had.
  void restore_times(const struct stat& before) {
    timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  std::vector<std::string> files;
  std::string path;
};

TEST_F(ChangedFileTest, AByteChangedInsideABlockIsSeen) {
  struct stat before;
  ASSERT_EQ(stat(path.c_str(), &before), 0);
  std::string content = read_file(path);
  size_t at = content.find("alice", content.size() / 2);
  ASSERT_NE(at, std::string::npos);
  content.replace(at, 5, "alicf");
  write_file(path, content);
  restore_times(before);
  expect_scan_answer("a byte changed");
}

TEST_F(ChangedFileTest, ALineAppendedIsSeen) {
  append_file(path, "2024/01/04 23:59:59,alice,pc1,192.0.2.7,open_read,ok,docs,report/late\r\n");
  expect_scan_answer("a line appended");
}

TEST_F(ChangedFileTest, AFileReplacedByAnotherOfTheSameSizeAndTimesIsSeen) {
  struct stat before;
  ASSERT_EQ(stat(path.c_str(), &before), 0);
  std::string content = read_file(path);
  // Another file of the same size in its place, its times set back as with touch -d.
  size_t at = content.find("bob,");
  ASSERT_NE(at, std::string::npos);
  content.replace(at, 4, "ALI,");
  std::string replacement = path + ".new";
  write_file(replacement, content);
  ASSERT_EQ(rename(replacement.c_str(), path.c_str()), 0);
  restore_times(before);
  struct stat after;
  ASSERT_EQ(stat(path.c_str(), &after), 0);
  ASSERT_EQ(after.st_size, before.st_size);
  ASSERT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
  expect_scan_answer("the file replaced");
}

TEST_F(ChangedFileTest, ABlockWhoseBytesDoNotHashAsIndexedIsScannedWhole) {
  // An index that names the file as it is now but holds the blocks of its earlier bytes: a line
  // feed put inside a record of an early block moves the numbers of every line behind it, and
  // only the block's hash can tell.
  IndexBuilder builder(/*access_columns=*/true);
  IndexContent earlier;
  {
    int fd = open(path.c_str(), O_RDONLY);
    ASSERT_TRUE(builder.build(fd, &earlier));
    close(fd);
  }
  ASSERT_GT(earlier.blocks.size(), 3u);
  std::string content = read_file(path);
  size_t at = content.find("/", earlier.blocks[1].offset + 30);
  ASSERT_LT(at, earlier.blocks[2].offset);
  content[at] = '\n';
  write_file(path, content);
  struct stat now;
  ASSERT_EQ(stat(path.c_str(), &now), 0);
  earlier.identity = FileIdentity::of(now);
  char* volume_path = realpath(volume().c_str(), nullptr);
  IndexStore store(cache(), geteuid());
  ASSERT_TRUE(store.open(volume_path, kAccessLog, /*create=*/false));
  free(volume_path);
  ASSERT_TRUE(store.save(files[1].substr(0, 6), files[1].substr(7), serialize_index(earlier)));

  QueryOptions options;  // JSON: numbered lines
  options.filters.greps = {"/"};
  options.filters.users = {"alice", "bob"};
  QueryPlan plan = plan_for(options);
  Answer indexed = ask(plan, /*indexed=*/true);
  expect_same(indexed, ask(plan, /*indexed=*/false), "a block of other bytes");
  ASSERT_EQ(indexed.to_index.size(), 1u);
  EXPECT_EQ(indexed.use.files_indexed, 3u);
}

// An index file that cannot be trusted: the answer is the scan's, and a build makes it anew.
class UntrustedIndexTest : public IndexFixture {
 protected:
  void SetUp() override {
    std::mt19937 random(11);
    files = write_random_tree(random, 3);
    ASSERT_EQ(build_all(), 2u);
    std::vector<std::string> logs = list_dir(cache());
    ASSERT_EQ(logs.size(), 1u);
    log_dir = cache() + "/" + logs[0] + "/accesslog";
    index_file = log_dir + "/" + files[0].substr(0, 6) + "-" + files[0].substr(7) + ".idx";
    ASSERT_TRUE(::sarvik::testing::exists(index_file));
  }
  // Asks a question that both files answer and that uses every part of their indexes; expects
  // the first file scanned, and its index rebuilt.
  void expect_ignored_and_rebuilt(const std::string& what, uid_t owner = geteuid()) {
    QueryOptions options;
    options.filters.hosts = {"pc-417"};
    options.filters.greps = {"report"};
    options.since = "2024-01-02";
    QueryPlan plan = plan_for(options);
    Answer indexed = ask(plan, /*indexed=*/true, /*paged=*/false, owner);
    expect_same(indexed, ask(plan, /*indexed=*/false), what);
    if (owner != geteuid()) return;
    ASSERT_EQ(indexed.to_index.size(), 1u) << what;
    EXPECT_EQ(indexed.to_index[0].month + "/" + indexed.to_index[0].name, files[0]) << what;
    EXPECT_EQ(indexed.use.files_indexed, 1u) << what;
    EXPECT_EQ(build_all(), 1u) << what;
    EXPECT_EQ(ask(plan, /*indexed=*/true).use.files_indexed, 2u) << what;
  }
  std::vector<std::string> files;
  std::string log_dir;
  std::string index_file;
};

TEST_F(UntrustedIndexTest, ATruncatedIndexIsIgnored) {
  std::string bytes = read_file(index_file);
  for (size_t keep : {bytes.size() / 2, size_t{100}, size_t{0}}) {
    write_file(index_file, bytes.substr(0, keep), 0600);
    expect_ignored_and_rebuilt("truncated to " + std::to_string(keep));
  }
}

TEST_F(UntrustedIndexTest, AnIndexWithAWrongChecksumIsIgnored) {
  std::string bytes = read_file(index_file);
  // A byte of the header, of the blocks, of the signature and of the field values.
  for (size_t at : {size_t{50}, size_t{200}, bytes.size() / 2, bytes.size() - 3}) {
    std::string damaged = bytes;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
    write_file(index_file, damaged, 0600);
    expect_ignored_and_rebuilt("byte " + std::to_string(at) + " changed");
  }
}

TEST_F(UntrustedIndexTest, AnIndexThatOthersMayWriteIsIgnored) {
  ASSERT_EQ(chmod(index_file.c_str(), 0666), 0);
  expect_ignored_and_rebuilt("mode 0666");
  ASSERT_EQ(chmod(log_dir.c_str(), 0777), 0);
  QueryOptions options;
  options.filters.hosts = {"pc-417"};
  QueryPlan plan = plan_for(options);
  Answer indexed = ask(plan, /*indexed=*/true);
  EXPECT_EQ(indexed.use.files_indexed, 0u) << "a directory that others may write";
  expect_same(indexed, ask(plan, /*indexed=*/false), "a directory that others may write");
}

TEST_F(UntrustedIndexTest, AnIndexOfAnotherUserIsIgnored) {
  // The files are the test's user's own; a reader who is another user does not trust them.
  QueryOptions options;
  options.filters.hosts = {"pc-417"};
  QueryPlan plan = plan_for(options);
  Answer indexed = ask(plan, /*indexed=*/true, /*paged=*/false, geteuid() + 1);
  EXPECT_EQ(indexed.use.files_indexed, 0u);
  EXPECT_EQ(indexed.use.files_whole, 2u);
  expect_same(indexed, ask(plan, /*indexed=*/false), "another user's index");
}

// Appends to the current file and begins a newer one at the first line handed on.
class ClosingWriter : public TextWriter {
 public:
  explicit ClosingWriter(std::function<void()> close) : close(std::move(close)) {}
  bool write(std::string_view piece) override {
    if (!piece.empty() && !closed) {
      closed = true;
      close();
    }
    text.append(piece);
    return true;
  }
  bool flush() override { return true; }
  std::string text;

 private:
  std::function<void()> close;
  bool closed = false;
};

TEST_F(IndexFixture, TheCurrentFileIsScannedAndAFileThatClosesDuringAQueryIsIndexedAfter) {
  std::mt19937 random(3);
  std::vector<std::string> files = write_random_tree(random, 3);
  ASSERT_EQ(build_all(), 2u);  // the current file has none
  std::string current = volume() + "/accesslog/" + files[2];
  const std::string late =
      "2024/03/28 23:00:00,alice,pc1,192.0.2.7,delete,ok,hr,severance_7731\r\n";
  append_file(current, late);

  QueryOptions options;
  options.filters.greps = {"severance_7731"};
  options.output = "csv";
  QueryPlan plan = plan_for(options);
  Answer first = ask(plan, /*indexed=*/true);
  expect_same(first, ask(plan, /*indexed=*/false), "the current file");
  EXPECT_NE(first.text.find("2024/03/28 23:00:00"), std::string::npos);
  EXPECT_EQ(first.use.files_indexed, 2u);
  EXPECT_TRUE(first.to_index.empty());

  // While the query runs the current file gets a line and a newer file begins: it was current
  // when the query began, so it is scanned, and not taken for indexing yet.
  {
    CollectingProblems told;
    Problems problems(told);
    Search search(plan, problems);
    std::string error;
    ASSERT_TRUE(search.open(/*follow=*/false, &error));
    search.use_index(cache(), geteuid());
    ClosingWriter out([&] {
      append_file(current, late);
      ::sarvik::testing::write_file(
          volume() + "/accesslog/202403/access_20240330000000.csv",
          "\xEF\xBB\xBF"
          "2024/03/30 00:00:01,bob,pc2,192.0.2.8,open_read,ok,docs,x\r\n");
    });
    search.write_lines(out);
    EXPECT_TRUE(search.files_to_index().empty());
  }
  // The next query finds it closed and without an index; once built, the index is used.
  Answer next = ask(plan, /*indexed=*/true);
  expect_same(next, ask(plan, /*indexed=*/false), "the file closed");
  ASSERT_EQ(next.to_index.size(), 1u);
  EXPECT_EQ(next.to_index[0].month + "/" + next.to_index[0].name, files[2]);
  EXPECT_EQ(build_all(), 1u);
  Answer last = ask(plan, /*indexed=*/true);
  EXPECT_EQ(last.use.files_indexed, 3u);
  expect_same(last, ask(plan, /*indexed=*/false), "the closed file indexed");
}

TEST_F(IndexFixture, ALineBeyondTheRangeEndsTheFileAsInTheScan) {
  // The clock stepped back three days in this file: the scan stops at the line beyond the
  // range's end (lines are taken to come in time order) and never sees the later alice.
  std::string lines = "\xEF\xBB\xBF";
  for (int i = 0; i < 200; ++i) {
    char line[128];
    snprintf(line, sizeof line,
             "2024/01/02 10:%02d:%02d,%s,pc1,192.0.2.7,open_read,ok,docs,f%d\r\n", i / 60, i % 60,
             i == 100 ? "alice" : "carol", i);
    lines += line;
  }
  lines += "2024/01/05 00:00:00,bob,pc1,192.0.2.7,open_read,ok,docs,beyond\r\n";
  lines += "2024/01/02 11:00:00,alice,pc1,192.0.2.7,open_read,ok,docs,after the step\r\n";
  ::sarvik::testing::make_dirs(volume() + "/accesslog/202401");
  write_file(log_file("202401", "access_20240102100000.csv"), lines);
  write_file(log_file("202401", "access_20240120000000.csv"),
             "\xEF\xBB\xBF"
             "2024/01/20 00:00:00,dave,pc2,192.0.2.8,close,ok,hr,x\r\n");
  ASSERT_EQ(build_all(), 1u);
  QueryOptions options;
  options.filters.users = {"alice"};
  options.since = "2024-01-02";
  options.until = "2024-01-02 23:59:59";
  QueryPlan plan = plan_for(options);
  Answer indexed = ask(plan, /*indexed=*/true);
  Answer scanned = ask(plan, /*indexed=*/false);
  expect_same(indexed, scanned, "a line beyond the range");
  EXPECT_EQ(scanned.text.find("after the step"), std::string::npos);
  EXPECT_EQ(indexed.use.files_indexed, 1u);
}

}  // namespace
}  // namespace sarvik::query
