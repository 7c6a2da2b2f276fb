// Tests of the output of files scanned side by side: file order, bounded memory, exact limits.
#include "query/ordered_output.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "collecting_writer.h"

namespace sarvik::query {
namespace {

using testing::CollectingWriter;

// Every file of `lines[file]` lines, each line "file.line\n", written by `workers` threads
// taking files in turn; returns what reached the writer.
std::string run(const std::vector<int>& lines, size_t workers, uint64_t limit,
                uint64_t* written = nullptr) {
  CollectingWriter out;
  OrderedOutput output(out, lines.size(), workers + 1, limit);
  std::atomic<size_t> next{0};
  auto work = [&] {
    for (size_t file; (file = next++) < lines.size();) {
      if (!output.begin_file(file)) return;
      for (int line = 0; line < lines[file]; ++line) {
        output.text(file) += std::to_string(file) + "." + std::to_string(line) + "\n";
        if (!output.line_done(file)) break;
      }
      output.end_file(file);
    }
  };
  std::vector<std::thread> threads;
  for (size_t i = 0; i < workers; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  if (written != nullptr) *written = output.lines_written();
  return out.text;
}

std::string expected(const std::vector<int>& lines, uint64_t limit) {
  std::string text;
  uint64_t count = 0;
  for (size_t file = 0; file < lines.size(); ++file) {
    for (int line = 0; line < lines[file]; ++line) {
      if (limit != 0 && count == limit) return text;
      text += std::to_string(file) + "." + std::to_string(line) + "\n";
      ++count;
    }
  }
  return text;
}

TEST(OrderedOutput, WritesInFileOrderWhateverTheWorkers) {
  // Big files among small ones and empty ones, so that workers overtake each other.
  std::vector<int> lines = {3, 0, 40000, 2, 1, 0, 25000, 7, 0, 0, 9};
  for (size_t workers : {1, 2, 4}) {
    uint64_t written = 0;
    EXPECT_EQ(run(lines, workers, 0, &written), expected(lines, 0)) << workers;
    EXPECT_EQ(written, 65022u);
  }
}

TEST(OrderedOutput, ALimitCutsAfterExactlyThatManyLinesInFileOrder) {
  std::vector<int> lines = {3, 0, 40000, 2, 1, 25000, 7};
  for (uint64_t limit : {1, 3, 4, 40003, 40004, 65012, 65013, 100000}) {
    for (size_t workers : {1, 2, 3}) {
      uint64_t written = 0;
      EXPECT_EQ(run(lines, workers, limit, &written), expected(lines, limit))
          << limit << " " << workers;
      EXPECT_EQ(written, std::min<uint64_t>(limit, 65013u));
    }
  }
}

TEST(OrderedOutput, NoFilesNoOutput) { EXPECT_EQ(run({}, 2, 0), ""); }

TEST(OrderedOutput, TellsWhereTheLimitCutTheLines) {
  CollectingWriter out;
  OrderedOutput output(out, 3, 3, /*limit=*/4);
  // The files end out of order; each line's resume point is its file and number.
  for (size_t file : {2, 0, 1}) {
    ASSERT_TRUE(output.begin_file(file));
    for (uint64_t line = 1; line <= 3; ++line) {
      output.text(file) += "x\n";
      if (!output.line_done(file, ResumePoint{file * 100 + line, line})) break;
    }
    output.end_file(file);
  }
  size_t file = 9;
  ResumePoint resume;
  ASSERT_TRUE(output.cut_at(&file, &resume));
  EXPECT_EQ(file, 1u);
  EXPECT_EQ(resume.offset, 101u);
  EXPECT_EQ(resume.line, 1u);
  EXPECT_EQ(out.text, "x\nx\nx\nx\n");
}

TEST(OrderedOutput, NothingIsCutWhenEveryLineWasWritten) {
  CollectingWriter out;
  OrderedOutput output(out, 1, 2, /*limit=*/5);
  ASSERT_TRUE(output.begin_file(0));
  output.text(0) += "x\n";
  output.line_done(0, ResumePoint{7, 2});
  output.end_file(0);
  size_t file = 0;
  ResumePoint resume;
  EXPECT_FALSE(output.cut_at(&file, &resume));
}

TEST(OrderedOutput, CloseReleasesTheWorkersThatWaitForTheirTurn) {
  CollectingWriter out;
  OrderedOutput output(out, 10, /*window=*/1, 0);
  ASSERT_TRUE(output.begin_file(0));
  // File 1 may begin only after file 0 is written; file 0 never ends, but the output closes.
  std::thread waiting([&] { EXPECT_FALSE(output.begin_file(1)); });
  output.close();
  waiting.join();
  EXPECT_TRUE(output.closed());
}

}  // namespace
}  // namespace sarvik::query
