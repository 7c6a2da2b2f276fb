// The facts of a log file: its size, its lines as the service counts them, its first and last
// time; read again only for what was appended.
#include "web/file_facts.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "query/tree_access.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::web {
namespace {

using ::sarvik::testing::append_file;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

FileFacts facts_of(FileFactsCache& cache, const std::string& path) {
  query::Descriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  FileFacts facts;
  EXPECT_TRUE(cache.facts_of("accesslog/202403/access_1.csv", fd.get(), &facts));
  return facts;
}

TEST(FileFacts, CountsWholeRecordsAndReadsTheirTimes) {
  TempDir dir;
  std::string path = dir / "access_1.csv";
  // A line feed inside a record does not make a line of its own; an unfinished record is not
  // counted yet.
  std::string content =
      "\xEF\xBB\xBF"
      "2024/03/04 09:30:00,alice,pc1,192.0.2.7,open_read,ok,docs,a\nb\r\n"
      "2024/03/04 10:00:00,bob,pc1,192.0.2.7,open_read,ok,docs,c\r\n"
      "2024/03/04 11:00";
  write_file(path, content);
  FileFactsCache cache;
  FileFacts facts = facts_of(cache, path);
  EXPECT_EQ(facts.lines, 2u);
  EXPECT_EQ(facts.bytes, content.size());
  ASSERT_TRUE(facts.first && facts.last);
  EXPECT_EQ(facts.first->hour, 9);
  EXPECT_EQ(facts.last->hour, 10);

  append_file(path, ":00,carol,pc1,192.0.2.7,open_read,ok,docs,d\r\n");
  facts = facts_of(cache, path);
  EXPECT_EQ(facts.lines, 3u);
  EXPECT_EQ(facts.first->hour, 9);
  EXPECT_EQ(facts.last->hour, 11);
}

TEST(FileFacts, AnEmptyFileHasNoTimes) {
  TempDir dir;
  std::string path = dir / "access_1.csv";
  write_file(path, "\xEF\xBB\xBF");
  FileFactsCache cache;
  FileFacts facts = facts_of(cache, path);
  EXPECT_EQ(facts.lines, 0u);
  EXPECT_FALSE(facts.first);
  EXPECT_FALSE(facts.last);
  append_file(path, "2024/03/04 09:30:00,alice,pc1,192.0.2.7,open_read,ok,docs,a\r\n");
  facts = facts_of(cache, path);
  EXPECT_EQ(facts.lines, 1u);
  ASSERT_TRUE(facts.first);
  EXPECT_EQ(facts.first->minute, 30);
}

TEST(FileFacts, AFileReplacedUnderItsNameIsReadAnew) {
  TempDir dir;
  std::string path = dir / "access_1.csv";
  write_file(path, "2024/03/04 09:30:00,a\r\n2024/03/04 09:31:00,b\r\n");
  FileFactsCache cache;
  EXPECT_EQ(facts_of(cache, path).lines, 2u);
  std::string other = dir / "other.csv";
  write_file(other, "2024/03/05 08:00:00,c\r\n");
  ASSERT_EQ(rename(other.c_str(), path.c_str()), 0);
  FileFacts facts = facts_of(cache, path);
  EXPECT_EQ(facts.lines, 1u);
  EXPECT_EQ(facts.first->day, 5);
}

}  // namespace
}  // namespace sarvik::web
