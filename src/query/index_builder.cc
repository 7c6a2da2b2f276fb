// Building the block index of one log file from its bytes.
#include "query/index_builder.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "query/trigrams.h"
#include "record/record_columns.h"
#include "record/record_time.h"

namespace sarvik::query {

namespace {

constexpr unsigned kMostRowBits = 14;  // log2 of kMostBloomRows
static_assert(size_t{1} << kMostRowBits == kMostBloomRows);
constexpr size_t kSignatureWords = kMostBloomRows / 64;

// A field whose values and block lists would take more than this share of the file's bytes
// (a value per line, say) is not worth keeping: its filter finds nearly every block anyway.
constexpr uint64_t kFieldShareDivisor = 50;

// The bytes of a block number's step in a list.
uint64_t varint_bytes(uint32_t value) {
  uint64_t bytes = 1;
  while (value >= 0x80) {
    value >>= 7;
    ++bytes;
  }
  return bytes;
}

PackedTime packed_time(std::string_view text) {
  PackedTime packed = 0;
  for (size_t i = 0; i < kRecordTimeLength; ++i) {
    if (text[i] >= '0' && text[i] <= '9')
      packed = packed * 10 + static_cast<uint64_t>(text[i] - '0');
  }
  return packed;
}

unsigned bits_for(double count) {
  unsigned bits = 0;
  while (bits < kMostRowBits && static_cast<double>(uint64_t{1} << bits) < count) ++bits;
  return bits;
}

}  // namespace

bool IndexBuilder::build(int fd, IndexContent* content) {
  struct stat before;
  if (fstat(fd, &before) != 0 ||
      static_cast<uint64_t>(before.st_size) > std::numeric_limits<uint32_t>::max()) {
    return false;
  }
  *content = IndexContent();
  out = content;
  out->identity = FileIdentity::of(before);
  next_line = 1;
  in_block = false;
  block_text.clear();
  group_signature.assign(kSignatureWords, 0);
  group_rows.clear();
  trigram_estimate = 0;
  dictionaries.assign(access_columns ? kFieldGroups : 0, Dictionary());
  if (access_columns) out->fields.resize(kFieldGroups);

  bool whole = true;
  int64_t end = reader.read_forward(fd, 0, [&](const Chunk& chunk) {
    if (chunk.cut) {
      whole = false;
      return false;
    }
    for (const char* start = chunk.begin; start < chunk.end;) {
      const char* line_end = find_line_end(start, chunk.end);
      const char* next = line_end == chunk.end ? chunk.end : line_end + 2;
      add_record(std::string_view(start, line_end - start),
                 chunk.offset + static_cast<uint64_t>(start - chunk.begin));
      block_text.append(start, next);
      if (block_text.size() >= kBlockBytes) end_block();
      start = next;
    }
    return true;
  });
  struct stat after;
  if (!whole || end < 0 || fstat(fd, &after) != 0 || FileIdentity::of(after) != out->identity) {
    return false;
  }
  out->records_end = static_cast<uint64_t>(end);
  end_block();
  finish();
  return true;
}

void IndexBuilder::start_block(uint64_t offset) {
  if (out->blocks.size() % kGroupBlocks == 0) out->groups.emplace_back();
  IndexContent::Block block;
  block.offset = static_cast<uint32_t>(offset);
  block.first_line = static_cast<uint32_t>(next_line);
  out->blocks.push_back(block);
  in_block = true;
}

void IndexBuilder::end_block() {
  if (!in_block) return;
  out->blocks.back().hash = block_hash_of(block_text.data(), block_text.data() + block_text.size());
  block_text.clear();
  in_block = false;
  if (out->blocks.size() % kGroupBlocks == 0) end_group();
}

void IndexBuilder::end_group() {
  std::vector<uint32_t> rows;
  size_t set = 0;
  for (size_t word = 0; word < kSignatureWords; ++word) {
    for (uint64_t bits = group_signature[word]; bits != 0; bits &= bits - 1) {
      rows.push_back(static_cast<uint32_t>(word * 64 + __builtin_ctzll(bits)));
      ++set;
    }
  }
  // How many distinct trigrams set that many of the rows, by linear counting.
  double fill = static_cast<double>(set) / kMostBloomRows;
  trigram_estimate += fill < 1 ? -std::log(1 - fill) * kMostBloomRows : kMostBloomRows;
  group_rows.push_back(std::move(rows));
  group_signature.assign(kSignatureWords, 0);
}

void IndexBuilder::add_record(std::string_view text, uint64_t offset) {
  if (!in_block) start_block(offset);
  IndexContent::Block& block = out->blocks.back();
  IndexContent::Group& group = out->groups.back();
  next_line += 1 + count_line_feeds(text.data(), text.data() + text.size());

  CivilTime time;
  if (read_record_time(text, &time)) {
    PackedTime packed = packed_time(text);
    if (group.earliest == kNoTime || packed < group.earliest) group.earliest = packed;
    if (packed > group.latest) group.latest = packed;
  } else {
    block.flags |= kBlockTimeless;
  }

  for_each_trigram(text, [&](uint32_t trigram) {
    uint32_t row = trigram_row(trigram, kMostRowBits);
    group_signature[row / 64] |= uint64_t{1} << (row % 64);
  });

  if (!access_columns) {
    if (read_system_columns(text).fault != ColumnFault::kNone) block.flags |= kBlockFaulty;
    return;
  }
  AccessColumns columns = read_access_columns(text);
  if (columns.fault != ColumnFault::kNone) {
    // The scan reads every line of such a block whenever a field filter is asked for, so the
    // values of a line in doubt need not be kept.
    block.flags |= kBlockFaulty;
    return;
  }
  const std::string_view person[kGroupFields] = {columns.user, columns.host, columns.ipaddr};
  const std::string_view action[kGroupFields] = {columns.operation, columns.result, columns.share};
  add_value(0, person);
  add_value(1, action);
}

void IndexBuilder::add_value(size_t group, const std::string_view (&texts)[kGroupFields]) {
  key.clear();
  for (std::string_view text : texts) {
    uint32_t length = static_cast<uint32_t>(text.size());
    key.append(reinterpret_cast<const char*>(&length), sizeof length).append(text);
  }
  Dictionary& dictionary = dictionaries[group];
  std::vector<IndexContent::Value>& values = out->fields[group].values;
  auto found = dictionary.ids.find(key);
  uint32_t id;
  if (found == dictionary.ids.end()) {
    id = static_cast<uint32_t>(dictionary.keys.size());
    dictionary.keys.push_back(key);
    dictionary.ids.emplace(dictionary.keys.back(), id);
    values.emplace_back();
    for (size_t column = 0; column < kGroupFields; ++column) {
      values.back().text[column] = std::string(texts[column]);
    }
  } else {
    id = found->second;
  }
  std::vector<uint32_t>& blocks = values[id].blocks;
  uint32_t block = static_cast<uint32_t>(out->blocks.size() - 1);
  if (blocks.empty() || blocks.back() != block) blocks.push_back(block);
}

void IndexBuilder::finish() {
  if (out->blocks.size() % kGroupBlocks != 0) end_group();
  // Rows for about one and a half times the distinct trigrams of an average group: a trigram
  // that a group lacks then finds its row set by others about one time in two at most.
  double average = group_rows.empty() ? 0 : trigram_estimate / group_rows.size();
  unsigned row_bits = std::max(bits_for(average * 1.5), bits_for(kLeastBloomRows));
  out->bloom_rows = uint32_t{1} << row_bits;
  size_t words = out->words_per_row();
  out->bloom.assign(size_t{out->bloom_rows} * words, 0);
  for (size_t group = 0; group < group_rows.size(); ++group) {
    for (uint32_t row : group_rows[group]) {
      size_t folded = row >> (kMostRowBits - row_bits);
      out->bloom[folded * words + group / 64] |= uint64_t{1} << (group % 64);
    }
  }
  out->end_line = next_line;

  if (!access_columns) return;
  for (IndexContent::FieldGroup& kept : out->fields) {
    uint64_t bytes = 0;
    for (size_t id = 0; id < kept.values.size(); ++id) {
      const std::vector<uint32_t>& blocks = kept.values[id].blocks;
      bytes += 32;
      for (const std::string& text : kept.values[id].text) bytes += text.size();
      for (size_t i = 0; i < blocks.size(); ++i) {
        bytes += varint_bytes(i == 0 ? blocks[i] : blocks[i] - blocks[i - 1]);
      }
    }
    kept.indexed = bytes <= out->records_end / kFieldShareDivisor + 4096;
    if (!kept.indexed) kept.values.clear();
  }
}

}  // namespace sarvik::query
