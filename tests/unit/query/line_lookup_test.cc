// Finding a record by its line number, numbered as the scanner numbers lines.
#include "query/line_lookup.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "query/chunk_reader.h"
#include "query/tree_access.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

int lookup(const std::string& path, uint64_t line, std::string* record) {
  Descriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return read_record_at_line(fd.get(), line, record);
}

TEST(LineLookup, FindsTheRecordThatBeginsOnTheLine) {
  TempDir dir;
  std::string path = dir / "access_1.csv";
  // Line 2 holds a record with a line feed of its own: the next record begins on line 4.
  write_file(path, "\xEF\xBB\xBFone\r\ntwo\nand\nmore\r\nthree\r\nunfinished");
  std::string record;
  EXPECT_EQ(lookup(path, 1, &record), 1);
  EXPECT_EQ(record, "one");
  EXPECT_EQ(lookup(path, 2, &record), 1);
  EXPECT_EQ(record, "two\nand\nmore");
  EXPECT_EQ(lookup(path, 3, &record), 0);  // inside the record of line 2
  EXPECT_EQ(lookup(path, 5, &record), 1);
  EXPECT_EQ(record, "three");
  EXPECT_EQ(lookup(path, 6, &record), 0);  // not whole yet
  EXPECT_EQ(lookup(path, 1000, &record), 0);
}

TEST(LineLookup, CountsLinesOverAnOverlongRecord) {
  TempDir dir;
  std::string path = dir / "access_1.csv";
  std::string overlong(ChunkReader::kDefaultLongestRecord + 10, 'x');
  overlong[100] = '\n';
  write_file(path, "a\r\n" + overlong + "\r\nb\r\n");
  std::string record;
  EXPECT_EQ(lookup(path, 2, &record), 1);
  EXPECT_EQ(record.substr(0, 3), "xxx");
  EXPECT_EQ(lookup(path, 4, &record), 1);
  EXPECT_EQ(record, "b");
}

}  // namespace
}  // namespace sarvik::query
