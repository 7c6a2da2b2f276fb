// Fuzz target: the block index read back. Any bytes, sealed with valid checksums or not, are
// opened and a query's blocks chosen from them without a read out of bounds; and the index
// built from any log file describes it: its blocks begin where records begin, carry their
// first line's number and the hash of their bytes, and cover every record.
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "query/chunk_reader.h"
#include "query/index_builder.h"
#include "query/index_format.h"
#include "query/index_question.h"
#include "query/record_filter.h"
#include "query/time_range.h"

namespace fuzz = sarvik::fuzzing;

namespace {

using namespace sarvik;
using namespace sarvik::query;

constexpr size_t kMaxFile = 32 * 1024;

// A question that uses every part of an index: a time range, a field of each group and a text.
struct Question {
  Question() {
    FilterValues values;
    values.users = {"alice"};
    values.results = {"fail"};
    values.greps = {"report"};
    std::string error;
    filter.build(values, &error);
    CivilTime since, until;
    parse_time_bound("2024-03-04", 0, &since, &error);
    parse_time_bound("2024-03-04 23:59:59", 0, &until, &error);
    range = TimeRange(since, until);
    entry.stop_after = "2024/03/06 02:00:00";
  }
  RecordFilter filter;
  TimeRange range;
  LogFileEntry entry;
};

void choose_blocks(std::string_view bytes, uint64_t file_size) {
  static const Question question;
  IndexView index;
  if (!index.open(bytes)) return;
  for (bool access : {true, false}) {
    IndexQuestion asked(question.filter, question.range, access);
    std::vector<ChosenBlock> blocks;
    if (!asked.choose(index, question.entry, &blocks)) continue;
    uint64_t behind = 0;
    for (const ChosenBlock& block : blocks) {
      if (block.begin < behind || block.end <= block.begin || block.end > file_size) {
        fuzz::fuzz_fail("a chosen block lies out of order or beyond the file");
      }
      behind = block.end;
    }
  }
}

void check_built(const std::string& content) {
  int fd = memfd_create("log", MFD_CLOEXEC);
  if (fd < 0 || write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
    fuzz::fuzz_fail("no memory file");
  }
  IndexBuilder builder(/*access_columns=*/true);
  IndexContent built;
  if (!builder.build(fd, &built)) fuzz::fuzz_fail("a small file could not be indexed");
  // The records as the scan reads them, with the number of each one's first line.
  std::vector<uint64_t> starts, lines;
  uint64_t line = 1;
  ChunkReader reader;
  int64_t end = reader.read_forward(fd, 0, [&](const Chunk& chunk) {
    for (const char* start = chunk.begin; start < chunk.end;) {
      const char* line_end = find_line_end(start, chunk.end);
      starts.push_back(chunk.offset + static_cast<uint64_t>(start - chunk.begin));
      lines.push_back(line);
      line += 1 + count_line_feeds(start, line_end);
      start = line_end == chunk.end ? chunk.end : line_end + 2;
    }
    return true;
  });
  close(fd);
  std::string bytes = serialize_index(built);
  IndexView index;
  if (!index.open(bytes) || !index.blocks_intact() || !index.bloom_intact() ||
      !index.fields_intact()) {
    fuzz::fuzz_fail("a built index does not read back");
  }
  if (index.records_end() != static_cast<uint64_t>(end) || index.end_line() != line) {
    fuzz::fuzz_fail("the index does not end where the records end");
  }
  size_t record = 0;
  for (size_t block = 0; block < index.block_count(); ++block) {
    while (record < starts.size() && starts[record] < index.block_offset(block)) ++record;
    if (record == starts.size() || starts[record] != index.block_offset(block) ||
        lines[record] != index.block_first_line(block)) {
      fuzz::fuzz_fail("a block does not begin at a record with its line's number");
    }
    const char* begin = content.data() + index.block_offset(block);
    if (block_hash_of(begin, content.data() + index.block_end(block)) != index.block_hash(block)) {
      fuzz::fuzz_fail("a block's hash is not that of its bytes");
    }
  }
  if ((index.block_count() == 0) != starts.empty()) fuzz::fuzz_fail("records left out");
  choose_blocks(bytes, content.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzInput in(data, size);
  uint8_t mode = in.take_byte();
  std::string rest = in.take_rest(kMaxFile);
  if (mode % 3 == 0) {
    check_built(rest);
  } else {
    // Damaged or made-up index bytes; sealed, they pass the checksums and reach the layout's
    // own checks.
    if (mode % 3 == 2) seal_index(&rest);
    choose_blocks(rest, UINT64_MAX);
  }
  return 0;
}
