// The block index of a closed log file: its layout on disk, written and read back.
#include "query/index_format.h"

#include <xxhash.h>

#include <cstring>

namespace sarvik::query {

namespace {

// The header, at the start of the file; every number is little-endian:
//   0 magic, 8 version, 12 header size, 16 header checksum (of the header with this field 0),
//   24 identity (7 x 8), 80 records end, 88 end line, 96 blocks, 100 signature rows,
//   104 fields, 108 zero, 112 three parts (offset, size, checksum): blocks, signature, fields.
// Blocks part: per block offset (4), first line (4), hash (8); then a flags byte per block,
// zeros to a multiple of 8, and per group the earliest and the latest packed time (8 + 8).
// Signature part: its rows, each a bit per group in 64-bit words.
// Fields part: per field group (none or two) values (4), indexed (4), and the offsets in the
// part of its value table, its strings and its block lists with their sizes (5 x 8); a value
// table entry is each column's text's offset and length, and its list's offset and length
// (8 x 4). A list holds the
// ascending block numbers as LEB128 numbers, the first as it is, each next as the step to it.
constexpr char kMagic[8] = {'S', 'V', 'K', 'I', 'N', 'D', 'X', '1'};
constexpr uint32_t kVersion = 1;
constexpr size_t kHeaderBytes = 192;
constexpr size_t kChecksumAt = 16;
constexpr size_t kPartsAt = 112;
constexpr size_t kGroupEntry = 16;
constexpr size_t kFieldEntry = 48;
constexpr size_t kValueEntry = 32;

uint64_t checksum(const char* data, size_t size) { return XXH3_64bits(data, size); }

template <typename Number>
void put(std::string* out, size_t at, Number value) {
  std::memcpy(&(*out)[at], &value, sizeof value);
}

template <typename Number>
void append(std::string* out, Number value) {
  out->append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <typename Number>
Number get(const char* at) {
  Number value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

void append_varint(std::string* out, uint32_t value) {
  while (value >= 0x80) {
    out->push_back(static_cast<char>(value | 0x80));
    value >>= 7;
  }
  out->push_back(static_cast<char>(value));
}

// The blocks part's size without and with its group times.
size_t block_table_bytes(size_t blocks) { return (blocks * (16 + 1) + 7) / 8 * 8; }

void pad_to_8(std::string* out) { out->append((8 - out->size() % 8) % 8, '\0'); }

bool within(uint64_t offset, uint64_t size, uint64_t total) {
  return offset <= total && size <= total - offset;
}

}  // namespace

FileIdentity FileIdentity::of(const struct stat& status) {
  FileIdentity identity;
  identity.device = static_cast<uint64_t>(status.st_dev);
  identity.inode = static_cast<uint64_t>(status.st_ino);
  identity.size = static_cast<uint64_t>(status.st_size);
  identity.modified_seconds = status.st_mtim.tv_sec;
  identity.modified_nanoseconds = status.st_mtim.tv_nsec;
  identity.changed_seconds = status.st_ctim.tv_sec;
  identity.changed_nanoseconds = status.st_ctim.tv_nsec;
  return identity;
}

bool FileIdentity::operator==(const FileIdentity& o) const {
  return device == o.device && inode == o.inode && size == o.size &&
         modified_seconds == o.modified_seconds && modified_nanoseconds == o.modified_nanoseconds &&
         changed_seconds == o.changed_seconds && changed_nanoseconds == o.changed_nanoseconds;
}

uint64_t block_hash_of(const char* begin, const char* end) {
  return checksum(begin, static_cast<size_t>(end - begin));
}

std::string serialize_index(const IndexContent& c) {
  std::string out(kHeaderBytes, '\0');
  uint64_t parts[3][2];  // offset and size; the checksums are sealed in last

  parts[0][0] = out.size();
  for (const IndexContent::Block& block : c.blocks) {
    append(&out, block.offset);  // 16 bytes a block
    append(&out, block.first_line);
    append(&out, block.hash);
  }
  for (const IndexContent::Block& block : c.blocks) out.push_back(static_cast<char>(block.flags));
  pad_to_8(&out);
  for (const IndexContent::Group& group : c.groups) {
    append(&out, group.earliest);
    append(&out, group.latest);
  }
  parts[0][1] = out.size() - parts[0][0];

  parts[1][0] = out.size();
  for (uint64_t word : c.bloom) append(&out, word);
  parts[1][1] = out.size() - parts[1][0];

  parts[2][0] = out.size();
  std::string tables, strings, lists;
  std::string descriptors;
  for (const IndexContent::FieldGroup& field : c.fields) {
    size_t table_at = tables.size(), strings_at = strings.size(), lists_at = lists.size();
    for (const IndexContent::Value& value : field.values) {
      size_t list_at = lists.size() - lists_at;
      for (const std::string& text : value.text) {
        append(&tables, static_cast<uint32_t>(strings.size() - strings_at));
        append(&tables, static_cast<uint32_t>(text.size()));
        strings += text;
      }
      uint32_t previous = 0;
      for (size_t i = 0; i < value.blocks.size(); ++i) {
        append_varint(&lists, i == 0 ? value.blocks[i] : value.blocks[i] - previous);
        previous = value.blocks[i];
      }
      append(&tables, static_cast<uint32_t>(list_at));
      append(&tables, static_cast<uint32_t>(lists.size() - lists_at - list_at));
    }
    append(&descriptors, static_cast<uint32_t>(field.values.size()));
    append(&descriptors, static_cast<uint32_t>(field.indexed ? 1 : 0));
    // Offsets inside the part: the descriptors come first, then the tables, strings and lists.
    size_t base = c.fields.size() * kFieldEntry;
    append(&descriptors, static_cast<uint64_t>(base + table_at));
    append(&descriptors, static_cast<uint64_t>(strings_at));  // relocated below
    append(&descriptors, static_cast<uint64_t>(strings.size() - strings_at));
    append(&descriptors, static_cast<uint64_t>(lists_at));  // relocated below
    append(&descriptors, static_cast<uint64_t>(lists.size() - lists_at));
  }
  // The strings follow the tables and the lists the strings: move their offsets there.
  size_t strings_base = descriptors.size() + tables.size();
  size_t lists_base = strings_base + strings.size();
  for (size_t f = 0; f < c.fields.size(); ++f) {
    put(&descriptors, f * kFieldEntry + 16,
        get<uint64_t>(&descriptors[f * kFieldEntry + 16]) + strings_base);
    put(&descriptors, f * kFieldEntry + 32,
        get<uint64_t>(&descriptors[f * kFieldEntry + 32]) + lists_base);
  }
  out += descriptors;
  out += tables;
  out += strings;
  out += lists;
  parts[2][1] = out.size() - parts[2][0];

  std::memcpy(&out[0], kMagic, sizeof kMagic);
  put(&out, 8, kVersion);
  put(&out, 12, static_cast<uint32_t>(kHeaderBytes));
  const FileIdentity& id = c.identity;
  size_t at = 24;
  for (uint64_t number : {id.device, id.inode, id.size}) {
    put(&out, at, number);
    at += 8;
  }
  for (int64_t number :
       {id.modified_seconds, id.modified_nanoseconds, id.changed_seconds, id.changed_nanoseconds}) {
    put(&out, at, number);
    at += 8;
  }
  put(&out, 80, c.records_end);
  put(&out, 88, c.end_line);
  put(&out, 96, static_cast<uint32_t>(c.blocks.size()));
  put(&out, 100, c.bloom_rows);
  put(&out, 104, static_cast<uint32_t>(c.fields.size()));
  for (size_t p = 0; p < 3; ++p) {
    for (size_t i = 0; i < 2; ++i) put(&out, kPartsAt + (p * 3 + i) * 8, parts[p][i]);
  }
  seal_index(&out);
  return out;
}

bool seal_index(std::string* bytes) {
  if (bytes->size() < kHeaderBytes) return false;
  for (size_t p = 0; p < 3; ++p) {
    uint64_t offset = get<uint64_t>(&(*bytes)[kPartsAt + p * 24]);
    uint64_t size = get<uint64_t>(&(*bytes)[kPartsAt + p * 24 + 8]);
    if (within(offset, size, bytes->size())) {
      put(bytes, kPartsAt + p * 24 + 16, checksum(bytes->data() + offset, size));
    }
  }
  put(bytes, kChecksumAt, uint64_t{0});
  put(bytes, kChecksumAt, checksum(bytes->data(), kHeaderBytes));
  return true;
}

bool IndexView::open(std::string_view data) {
  bytes = data;
  if (bytes.size() < kHeaderBytes || std::memcmp(at(0), kMagic, sizeof kMagic) != 0 ||
      get<uint32_t>(at(8)) != kVersion || get<uint32_t>(at(12)) != kHeaderBytes) {
    return false;
  }
  std::string header(at(0), kHeaderBytes);
  put(&header, kChecksumAt, uint64_t{0});
  if (checksum(header.data(), header.size()) != get<uint64_t>(at(kChecksumAt))) return false;
  file.device = get<uint64_t>(at(24));
  file.inode = get<uint64_t>(at(32));
  file.size = get<uint64_t>(at(40));
  file.modified_seconds = get<int64_t>(at(48));
  file.modified_nanoseconds = get<int64_t>(at(56));
  file.changed_seconds = get<int64_t>(at(64));
  file.changed_nanoseconds = get<int64_t>(at(72));
  records_end_offset = get<uint64_t>(at(80));
  end_line_number = get<uint64_t>(at(88));
  blocks_count = get<uint32_t>(at(96));
  rows = get<uint32_t>(at(100));
  field_count = get<uint32_t>(at(104));
  Part* parts[3] = {&blocks_part, &bloom_part, &fields_part};
  for (size_t p = 0; p < 3; ++p) {
    parts[p]->offset = get<uint64_t>(at(kPartsAt + p * 24));
    parts[p]->size = get<uint64_t>(at(kPartsAt + p * 24 + 8));
    parts[p]->checksum = get<uint64_t>(at(kPartsAt + p * 24 + 16));
    parts[p]->verified = 0;
    if (!within(parts[p]->offset, parts[p]->size, bytes.size())) return false;
  }
  group_times = blocks_part.offset + block_table_bytes(blocks_count);
  bool rows_valid = rows >= kLeastBloomRows && rows <= kMostBloomRows && (rows & (rows - 1)) == 0;
  return records_end_offset <= file.size && rows_valid &&
         (field_count == 0 || field_count == kFieldGroups) &&
         blocks_part.size == block_table_bytes(blocks_count) + group_count() * kGroupEntry &&
         bloom_part.size == uint64_t{rows} * words_per_row() * 8 &&
         fields_part.size >= field_count * kFieldEntry;
}

bool IndexView::part_intact(Part& part) {
  if (part.verified == 0) {
    part.verified = checksum(at(part.offset), part.size) == part.checksum ? 1 : -1;
  }
  return part.verified == 1;
}

bool IndexView::blocks_intact() {
  if (blocks_part.verified != 0) return blocks_part.verified == 1;
  if (!part_intact(blocks_part)) return false;
  // Blocks in order, each holding at least one byte, lines never counted backwards.
  for (size_t b = 0; b < blocks_count; ++b) {
    if (block_offset(b) >= block_end(b) ||
        (b > 0 && block_first_line(b) < block_first_line(b - 1))) {
      blocks_part.verified = -1;
      return false;
    }
  }
  return true;
}

bool IndexView::bloom_intact() { return part_intact(bloom_part); }

bool IndexView::fields_intact() {
  if (fields_part.verified != 0) return fields_part.verified == 1;
  if (!part_intact(fields_part)) return false;
  for (size_t f = 0; f < field_count; ++f) {
    const char* entry = at(fields_part.offset + f * kFieldEntry);
    FieldPart& part = field_parts[f];
    part.values = get<uint32_t>(entry);
    part.indexed = get<uint32_t>(entry + 4) != 0;
    uint64_t table = get<uint64_t>(entry + 8);
    part.strings = get<uint64_t>(entry + 16);
    part.strings_size = get<uint64_t>(entry + 24);
    part.lists = get<uint64_t>(entry + 32);
    part.lists_size = get<uint64_t>(entry + 40);
    if (!within(table, uint64_t{part.values} * kValueEntry, fields_part.size) ||
        !within(part.strings, part.strings_size, fields_part.size) ||
        !within(part.lists, part.lists_size, fields_part.size)) {
      fields_part.verified = -1;
      return false;
    }
    part.table = fields_part.offset + table;
    part.strings += fields_part.offset;
    part.lists += fields_part.offset;
    for (size_t v = 0; v < part.values; ++v) {
      const char* value = at(part.table + v * kValueEntry);
      bool inside = within(get<uint32_t>(value + 24), get<uint32_t>(value + 28), part.lists_size);
      for (size_t column = 0; column < kGroupFields; ++column) {
        inside = inside && within(get<uint32_t>(value + column * 8),
                                  get<uint32_t>(value + column * 8 + 4), part.strings_size);
      }
      if (!inside) {
        fields_part.verified = -1;
        return false;
      }
    }
  }
  return true;
}

bool IndexView::group_indexed(size_t group) const {
  return has_fields() && field_parts[group].indexed;
}

size_t IndexView::value_count(size_t group) const { return field_parts[group].values; }

const char* IndexView::value_entry(size_t group, size_t value) const {
  return at(field_parts[group].table + value * kValueEntry);
}

std::string_view IndexView::value_text(size_t group, size_t value, size_t column) const {
  const char* entry = value_entry(group, value) + column * 8;
  return std::string_view(at(field_parts[group].strings + get<uint32_t>(entry)),
                          get<uint32_t>(entry + 4));
}

bool IndexView::add_value_blocks(size_t group, size_t value, std::vector<uint64_t>* blocks) const {
  const char* entry = value_entry(group, value);
  const FieldPart& part = field_parts[group];
  const unsigned char* p =
      reinterpret_cast<const unsigned char*>(at(part.lists + get<uint32_t>(entry + 24)));
  const unsigned char* end = p + get<uint32_t>(entry + 28);
  uint64_t block = 0;
  for (bool first = true; p < end; first = false) {
    uint64_t step = 0;
    for (int shift = 0;; shift += 7) {
      if (p == end || shift > 28) return false;
      step |= uint64_t{static_cast<uint8_t>(*p & 0x7F)} << shift;
      if ((*p++ & 0x80) == 0) break;
    }
    if (!first && step == 0) return false;
    block = first ? step : block + step;
    if (block >= blocks_count) return false;
    (*blocks)[block / 64] |= uint64_t{1} << (block % 64);
  }
  return true;
}

}  // namespace sarvik::query
