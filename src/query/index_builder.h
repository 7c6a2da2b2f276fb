// Building the block index of one log file from its bytes.
#ifndef SARVIK_QUERY_INDEX_BUILDER_H_
#define SARVIK_QUERY_INDEX_BUILDER_H_

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "query/chunk_reader.h"
#include "query/index_format.h"

namespace sarvik::query {

// Reads a log file once and describes its blocks: where each begins, its first line's number,
// the hash of its bytes, the time span of each group of blocks, which values of the access
// columns occur in which blocks, and a signature of the trigrams of each group's lines. It reads
// the records exactly as the scan reads them, so the blocks begin where the scan's lines begin.
// One builder per thread; it keeps its buffers from file to file.
class IndexBuilder {
 public:
  explicit IndexBuilder(bool access_columns) : access_columns(access_columns) {}

  // Builds the index of the open file `fd`. False when it cannot be read, it holds a record
  // longer than the reader takes whole, it is too large for the index's 32-bit offsets, or it
  // changed while it was read (an index of a moving file would describe nothing).
  bool build(int fd, IndexContent* content);

 private:
  void start_block(uint64_t offset);
  void end_block();
  void end_group();
  void add_record(std::string_view text, uint64_t offset);
  void add_value(size_t group, const std::string_view (&texts)[kGroupFields]);
  void finish();

  bool access_columns;
  ChunkReader reader;
  IndexContent* out = nullptr;
  uint64_t next_line = 1;
  bool in_block = false;
  std::string block_text;  // the running block's bytes, for its hash
  // The running group: its signature at the largest size, folded down when the file is done.
  std::vector<uint64_t> group_signature;
  std::vector<std::vector<uint32_t>> group_rows;  // per group, the rows it set at the largest size
  double trigram_estimate = 0;  // of distinct trigrams per group, summed over the groups
  // Per field group, the combinations seen so far: their ids by a key that holds each text
  // after its length, and the keys themselves.
  struct Dictionary {
    std::deque<std::string> keys;
    std::unordered_map<std::string_view, uint32_t> ids;
  };
  std::string key;  // working space of add_value
  std::vector<Dictionary> dictionaries;
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_INDEX_BUILDER_H_
