// Tests of the output of files scanned side by side: file order, bounded memory, exact limits.
#include "ordered_output.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "collecting_writer.h"

namespace sarvik::log_query {
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

}  // namespace
}  // namespace sarvik::log_query
