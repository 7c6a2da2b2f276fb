// Tests of reading a log file in blocks: whole records only, forward and backward alike.
#include "query/chunk_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

// The records a reader hands over, each without its line end, in the order handed over.
struct Reading {
  std::vector<std::string> records;
  int64_t end = 0;
};

std::vector<std::string> records_of(const Chunk& chunk) {
  std::vector<std::string> records;
  const char* start = chunk.begin;
  while (start < chunk.end) {
    const char* end = find_line_end(start, chunk.end);
    records.emplace_back(start, end);
    start = end == chunk.end ? end : end + 2;
  }
  return records;
}

class ChunkReaderTest : public ::testing::Test {
 protected:
  Reading forward(const std::string& content, size_t block, uint64_t offset = 0) {
    write_file(path, content);
    int fd = open(path.c_str(), O_RDONLY);
    ChunkReader reader(block, 1 << 20);
    Reading reading;
    reading.end = reader.read_forward(fd, offset, [&](const Chunk& chunk) {
      // A chunk is the file's bytes at its offset.
      EXPECT_EQ(std::string(chunk.begin, chunk.end),
                content.substr(chunk.offset, chunk.end - chunk.begin));
      for (std::string& record : records_of(chunk)) reading.records.push_back(record);
      return true;
    });
    close(fd);
    return reading;
  }

  std::vector<std::string> backward(const std::string& content, size_t block) {
    write_file(path, content);
    int fd = open(path.c_str(), O_RDONLY);
    ChunkReader reader(block, 1 << 20);
    std::vector<std::string> records;
    EXPECT_TRUE(reader.read_backward(fd, content.size(), [&](const Chunk& chunk) {
      EXPECT_EQ(std::string(chunk.begin, chunk.end),
                content.substr(chunk.offset, chunk.end - chunk.begin));
      std::vector<std::string> in_chunk = records_of(chunk);
      records.insert(records.end(), in_chunk.rbegin(), in_chunk.rend());
      return true;
    }));
    close(fd);
    return records;
  }

  TempDir dir;
  std::string path = dir / "access_20240304123456.csv";
};

TEST_F(ChunkReaderTest, SkipsTheMarkAndSplitsAtCrLfOnly) {
  std::string content =
      "\xEF\xBB\xBF"
      "a,b\r\nc\nd\r\n\r\ne\r\n";
  for (size_t block : {1, 2, 3, 5, 64}) {
    Reading reading = forward(content, block);
    EXPECT_EQ(reading.records, (std::vector<std::string>{"a,b", "c\nd", "", "e"})) << block;
    EXPECT_EQ(reading.end, static_cast<int64_t>(content.size())) << block;
  }
}

TEST_F(ChunkReaderTest, HoldsBackALastRecordWithoutItsLineEnd) {
  std::string content =
      "\xEF\xBB\xBF"
      "one\r\ntwo\r\nthree still being writ";
  for (size_t block : {1, 4, 7, 64}) {
    Reading reading = forward(content, block);
    EXPECT_EQ(reading.records, (std::vector<std::string>{"one", "two"})) << block;
    EXPECT_EQ(reading.end, static_cast<int64_t>(content.find("three"))) << block;
    EXPECT_EQ(backward(content, block), (std::vector<std::string>{"two", "one"})) << block;
  }
  // A CR at the very end is no line end yet either.
  Reading reading = forward(
      "\xEF\xBB\xBF"
      "one\r\ntwo\r",
      64);
  EXPECT_EQ(reading.records, std::vector<std::string>{"one"});
}

TEST_F(ChunkReaderTest, GoesOnFromAnOffset) {
  std::string content =
      "\xEF\xBB\xBF"
      "one\r\ntwo\r\nthree\r\n";
  Reading reading = forward(content, 4, content.find("two"));
  EXPECT_EQ(reading.records, (std::vector<std::string>{"two", "three"}));
  reading = forward(content, 4, content.size());
  EXPECT_TRUE(reading.records.empty());
  EXPECT_EQ(reading.end, static_cast<int64_t>(content.size()));
}

TEST_F(ChunkReaderTest, AFileWithoutMarkOrRecordsGivesWhatItHas) {
  EXPECT_TRUE(forward("", 8).records.empty());
  EXPECT_TRUE(forward("\xEF\xBB\xBF", 8).records.empty());
  EXPECT_EQ(forward("no mark\r\n", 8).records, std::vector<std::string>{"no mark"});
  EXPECT_TRUE(backward("", 8).empty());
  EXPECT_EQ(backward("\xEF\xBB\xBF"
                     "x\r\n",
                     2),
            std::vector<std::string>{"x"});
}

TEST_F(ChunkReaderTest, OnlyTheFirstThreeBytesCanBeTheMark) {
  // The mark's bytes behind a short first line are a record of their own in either direction.
  std::string content =
      "\r\n"
      "\xEF\xBB\xBF\r\n";
  const std::vector<std::string> records = {"", "\xEF\xBB\xBF"};
  for (size_t block : {1, 2, 3, 64}) {
    EXPECT_EQ(forward(content, block).records, records) << block;
    EXPECT_EQ(backward(content, block), (std::vector<std::string>{records[1], records[0]}))
        << block;
  }
}

TEST_F(ChunkReaderTest, BackwardIsForwardReversedAtEveryBlockSize) {
  std::mt19937 random(7);
  const char alphabet[] = "ab,\r\n";
  for (int round = 0; round < 40; ++round) {
    std::string content = "\xEF\xBB\xBF";
    size_t length = random() % 300;
    for (size_t i = 0; i < length; ++i) content += alphabet[random() % 5];
    std::vector<std::string> expected = forward(content, 1 << 16).records;
    std::reverse(expected.begin(), expected.end());
    for (size_t block : {1, 2, 3, 7, 16, 1024}) {
      ASSERT_EQ(backward(content, block), expected) << round << " " << block;
      std::vector<std::string> small_blocks = forward(content, block).records;
      std::reverse(small_blocks.begin(), small_blocks.end());
      ASSERT_EQ(small_blocks, expected) << round << " " << block;
    }
  }
}

TEST_F(ChunkReaderTest, FindsTheEndOfTheLastWholeRecord) {
  auto end_of = [&](const std::string& content) {
    write_file(path, content);
    int fd = open(path.c_str(), O_RDONLY);
    int64_t end = whole_records_end(fd);
    close(fd);
    return end;
  };
  EXPECT_EQ(end_of(""), 0);
  EXPECT_EQ(end_of("\xEF\xBB\xBF"), 0);
  EXPECT_EQ(end_of("\xEF\xBB\xBF"
                   "a,b"),
            0);
  EXPECT_EQ(end_of("\xEF\xBB\xBF"
                   "a\r\nb"),
            6);
  EXPECT_EQ(end_of("\xEF\xBB\xBF"
                   "a\r\nb\nc\r"),
            6);
  EXPECT_EQ(end_of("\xEF\xBB\xBF"
                   "a\r\nb\r\n"),
            9);
  // A CR LF that the blocks of 64 KiB, counted from the end, cut in two or leave whole; and a
  // record longer than a block.
  for (size_t tail : {size_t{65534}, size_t{65535}, size_t{65536}, size_t{131071}}) {
    std::string content = std::string(100, 'x') + "\r\n" + std::string(tail, 'y');
    EXPECT_EQ(end_of(content), 102) << tail;
  }
  EXPECT_EQ(end_of("a\r\n" + std::string(200000, 'y')), 3);
}

TEST_F(ChunkReaderTest, CountsLineFeedsAndFindsLineEnds) {
  std::string text = "a\nb\r\nc\n\n";
  EXPECT_EQ(count_line_feeds(text.data(), text.data() + text.size()), 4u);
  std::string many(1000, 'x');
  for (size_t i = 0; i < many.size(); i += 7) many[i] = '\n';
  EXPECT_EQ(count_line_feeds(many.data(), many.data() + many.size()), 143u);
  EXPECT_EQ(find_line_end(text.data(), text.data() + text.size()), text.data() + 3);
  EXPECT_EQ(after_last_line_end(text.data(), text.data() + text.size()), text.data() + 5);
  std::string none = "a\nb";
  EXPECT_EQ(after_last_line_end(none.data(), none.data() + none.size()), nullptr);
  EXPECT_EQ(find_line_end(none.data(), none.data() + none.size()), none.data() + none.size());
}

}  // namespace
}  // namespace sarvik::query
