// The block index of a closed log file: its layout on disk, written and read back.
#ifndef SARVIK_QUERY_INDEX_FORMAT_H_
#define SARVIK_QUERY_INDEX_FORMAT_H_

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "query/access_field.h"

namespace sarvik::query {

// What tells one version of a log file from another: a file that differs in any of these is not
// the file that was indexed. A change of the file's bytes changes its change time, which no
// user can set, so an index whose identity matches describes the bytes as they are.
struct FileIdentity {
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;
  int64_t modified_seconds = 0;
  int64_t modified_nanoseconds = 0;
  int64_t changed_seconds = 0;
  int64_t changed_nanoseconds = 0;

  static FileIdentity of(const struct stat& status);
  bool operator==(const FileIdentity& other) const;
  bool operator!=(const FileIdentity& other) const { return !(*this == other); }
};

// The values of the access columns are kept as combinations, in two groups of three columns:
// user, host and address, which go together (a person at a machine), and operation, result and
// share. Few combinations occur, so this costs less than each column alone, and a block holds a
// combination only where one line holds all three of its values ("failures on share hr").
inline constexpr size_t kFieldGroups = 2;
inline constexpr size_t kGroupFields = 3;
inline size_t group_of(AccessField field) { return static_cast<size_t>(field) / kGroupFields; }
inline size_t column_in_group(AccessField field) {
  return static_cast<size_t>(field) % kGroupFields;
}

// A block is the unit that is read, verified and numbered: whole records of at least this many
// bytes (the last block of a file may be shorter). Small blocks let a rare value's lines be read
// without their neighbours.
inline constexpr size_t kBlockBytes = 4096;
// The trigram signature and the times are kept per group of this many blocks: large enough that
// the signature costs little beside the bytes, small enough to leave most groups out.
inline constexpr size_t kGroupBlocks = 8;
// The bounds of the signature's rows, a power of two that the builder sizes to the file's
// groups (see IndexBuilder::finish).
inline constexpr size_t kLeastBloomRows = 64;
inline constexpr size_t kMostBloomRows = 16384;

// Per block, what forces it to be read whatever the filters say: a line without a readable
// time, and a line whose columns are in doubt. The scan counts such lines for its warnings.
inline constexpr uint8_t kBlockTimeless = 1;
inline constexpr uint8_t kBlockFaulty = 2;

// A packed record time: the fourteen digits of "YYYY/MM/DD hh:mm:ss" as one number, which
// orders as the text does.
using PackedTime = uint64_t;
inline constexpr PackedTime kNoTime = 0;

// An index as it is built, before it is written: the whole of what a file holds.
struct IndexContent {
  struct Block {
    uint32_t offset = 0;      // of its first record
    uint32_t first_line = 0;  // the number of the line that begins there, as grep -n counts
    uint64_t hash = 0;        // of its bytes, CR LF included
    uint8_t flags = 0;
  };
  struct Group {
    PackedTime earliest = kNoTime;  // of the lines with a readable time; kNoTime: none
    PackedTime latest = kNoTime;
  };
  // One combination of the values of a field group's columns that occurs in the file.
  struct Value {
    std::string text[kGroupFields];
    std::vector<uint32_t> blocks;  // ascending
  };
  struct FieldGroup {
    bool indexed = false;  // false: too many values to be worth keeping
    std::vector<Value> values;
  };

  FileIdentity identity;
  uint64_t records_end = 0;  // behind the last whole record
  uint64_t end_line = 1;     // the number a line beginning at records_end would have
  std::vector<Block> blocks;
  std::vector<Group> groups;
  uint32_t bloom_rows = kLeastBloomRows;
  std::vector<uint64_t> bloom;     // bloom_rows rows of words_per_row() words: a bit per group
  std::vector<FieldGroup> fields;  // kFieldGroups of access lines; none of system lines

  size_t words_per_row() const { return (groups.size() + 63) / 64; }
};

// The bytes of the index file of `content`.
std::string serialize_index(const IndexContent& content);

// Writes the checksums of the parts that the header of `bytes` names (those that lie inside
// the bytes), then the header's own: what makes an index whole once its parts are written.
// False when the bytes are too short for a header.
bool seal_index(std::string* bytes);

// An index file read back, as views into its bytes, which must outlive it. Every offset and
// count is checked against the bytes when it is opened, and each part's checksum when the part
// is first used, so no index, however damaged, is read out of bounds. One thread.
class IndexView {
 public:
  // Checks the header and the layout; false when the bytes are no index of this version.
  bool open(std::string_view bytes);

  const FileIdentity& identity() const { return file; }
  uint64_t records_end() const { return records_end_offset; }
  uint64_t end_line() const { return end_line_number; }
  size_t block_count() const { return blocks_count; }
  size_t group_count() const { return (blocks_count + kGroupBlocks - 1) / kGroupBlocks; }
  size_t words_per_row() const { return (group_count() + 63) / 64; }
  bool has_fields() const { return field_count == kFieldGroups; }

  // Whether the parts' checksums hold: blocks and times, the signature, the field values.
  bool blocks_intact();
  bool bloom_intact();
  bool fields_intact();

  // A block's place, number and hash; its end is the next block's offset, or records_end.
  // Valid once blocks_intact; called for every block of a file, so they are inline.
  uint64_t block_offset(size_t block) const {
    return read<uint32_t>(blocks_part.offset + block * kBlockEntry);
  }
  uint64_t block_end(size_t block) const {
    return block + 1 < blocks_count ? block_offset(block + 1) : records_end_offset;
  }
  uint32_t block_first_line(size_t block) const {
    return read<uint32_t>(blocks_part.offset + block * kBlockEntry + 4);
  }
  uint64_t block_hash(size_t block) const {
    return read<uint64_t>(blocks_part.offset + block * kBlockEntry + 8);
  }
  uint8_t block_flags(size_t block) const {
    return read<uint8_t>(blocks_part.offset + blocks_count * kBlockEntry + block);
  }
  PackedTime group_earliest(size_t group) const { return read<uint64_t>(group_times + group * 16); }
  PackedTime group_latest(size_t group) const {
    return read<uint64_t>(group_times + group * 16 + 8);
  }
  uint32_t bloom_rows() const { return rows; }
  // Word `word` of row `row` of the signature: a bit per group. Valid once bloom_intact.
  uint64_t bloom_word(size_t row, size_t word) const {
    return read<uint64_t>(bloom_part.offset + (row * words_per_row() + word) * 8);
  }

  // The field groups (see kFieldGroups): whether one was kept, its combinations, and the text
  // of one column of a combination.
  bool group_indexed(size_t group) const;
  size_t value_count(size_t group) const;
  std::string_view value_text(size_t group, size_t value, size_t column) const;
  // Sets the bit of every block that holds the combination in `blocks` (block_count bits).
  // False when the list is damaged.
  bool add_value_blocks(size_t group, size_t value, std::vector<uint64_t>* blocks) const;

 private:
  struct Part {
    uint64_t offset = 0;
    uint64_t size = 0;
    uint64_t checksum = 0;
    int verified = 0;  // 0 not yet, 1 holds, -1 damaged
  };
  bool part_intact(Part& part);
  const char* at(uint64_t offset) const { return bytes.data() + offset; }
  template <typename Number>
  Number read(uint64_t offset) const {
    Number value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
  }
  static constexpr size_t kBlockEntry = 16;
  // The field descriptor's values table, and its strings and lists.
  const char* value_entry(size_t group, size_t value) const;

  std::string_view bytes;
  FileIdentity file;
  uint64_t records_end_offset = 0;
  uint64_t end_line_number = 1;
  size_t blocks_count = 0;
  uint32_t rows = 0;
  uint32_t field_count = 0;
  Part blocks_part, bloom_part, fields_part;
  uint64_t group_times = 0;  // where the groups' times begin
  struct FieldPart {
    uint32_t values = 0;
    bool indexed = false;
    uint64_t table = 0;    // absolute offset of the value entries
    uint64_t strings = 0;  // absolute offset of the strings
    uint64_t lists = 0;    // absolute offset of the block lists
    uint64_t strings_size = 0;
    uint64_t lists_size = 0;
  };
  FieldPart field_parts[kFieldGroups];
};

// The 64-bit hash of a block's bytes and of the index's parts (XXH3).
uint64_t block_hash_of(const char* begin, const char* end);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_INDEX_FORMAT_H_
