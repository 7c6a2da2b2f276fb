// The sealing state on disk: the records of a seal journal and the key file, with their parsers.
#include "seal/seal_format.h"

#include <algorithm>
#include <cstring>

namespace sarvik {

namespace {

// Bytes of a record's first slot.
constexpr size_t kTypeAt = 0;
constexpr size_t kSlotsAt = 1;
constexpr size_t kNameLengthAt = 2;  // u16, file and expiry records
constexpr size_t kLineAt = 4;        // u32, line records
constexpr size_t kSeqAt = 8;
constexpr size_t kOffsetAt = 16;  // line: offset; file: device
constexpr size_t kLengthAt = 24;  // line: length, then unsealed_before; file: inode
constexpr size_t kUnsealedAt = 28;
constexpr size_t kHashAt = 32;

// The key file.
constexpr char kKeyFileMagic[8] = {'S', 'A', 'R', 'V', 'S', 'E', 'A', 'L'};
constexpr uint32_t kKeyFileVersion = 1;
constexpr size_t kVersionAt = 8;
constexpr size_t kSizeAt = 12;
constexpr size_t kCreatedAt = 16;
constexpr size_t kFingerprintAt = 24;
constexpr size_t kChainsAt = 64;
constexpr size_t kChainBytes = 128;
static_assert(kChainsAt + kSealChains * kChainBytes <= kKeyFileBytes);

// One chain's part of the key file.
constexpr size_t kNextSeqAt = 0;
constexpr size_t kKeyAt = 8;
constexpr size_t kLastTagAt = 40;
constexpr size_t kJournalBytesAt = 56;
constexpr size_t kDeviceAt = 64;
constexpr size_t kInodeAt = 72;
constexpr size_t kNextOffsetAt = 80;
constexpr size_t kNextLineAt = 88;
constexpr size_t kUnsealedCountAt = 92;
constexpr size_t kNameHashAt = 96;
constexpr size_t kRunOpenAt = 112;

void put16(uint8_t* at, uint16_t value) {
  for (int i = 0; i < 2; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}
void put32(uint8_t* at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}
void put64(uint8_t* at, uint64_t value) {
  for (int i = 0; i < 8; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}
uint16_t get16(const uint8_t* at) { return static_cast<uint16_t>(at[0] | at[1] << 8); }
uint32_t get32(const uint8_t* at) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | at[i];
  return value;
}
uint64_t get64(const uint8_t* at) {
  uint64_t value = 0;
  for (int i = 7; i >= 0; --i) value = value << 8 | at[i];
  return value;
}

bool all_zero(const uint8_t* begin, const uint8_t* end) {
  return std::all_of(begin, end, [](uint8_t byte) { return byte == 0; });
}

template <size_t N>
void copy_out(const uint8_t* at, std::array<uint8_t, N>* into) {
  memcpy(into->data(), at, N);
}

SealParse damaged(std::string* why, const char* reason) {
  *why = reason;
  return SealParse::kDamaged;
}

}  // namespace

size_t seal_slots(SealType type, size_t name_bytes) {
  if (type == SealType::kLine || type == SealType::kDigest) return 1;
  return 1 + (name_bytes + kSlotBytes - 1) / kSlotBytes;
}

void encode_line_seal(const SealRecord& record, uint8_t* at) {
  memset(at, 0, kSlotBytes);
  at[kTypeAt] = static_cast<uint8_t>(SealType::kLine);
  put64(at + kSeqAt, record.seq);
  put32(at + kLineAt, record.line);
  put64(at + kOffsetAt, record.offset);
  put32(at + kLengthAt, record.length);
  put32(at + kUnsealedAt, record.unsealed_before);
  memcpy(at + kHashAt, record.hash.data(), kSealHashBytes);
  memcpy(at + kTagOffset, record.tag.data(), kSealTagBytes);
}

std::string encode_seal(const SealRecord& record) {
  const size_t slots = seal_slots(record.type, record.name.size());
  std::string bytes(slots * kSlotBytes, '\0');
  auto* at = reinterpret_cast<uint8_t*>(bytes.data());
  if (record.type == SealType::kLine) {
    encode_line_seal(record, at);
    return bytes;
  }
  if (record.type == SealType::kDigest) {
    at[kTypeAt] = static_cast<uint8_t>(record.type);
    put32(at + kLineAt, record.line);
    put64(at + kSeqAt, record.seq);
    put64(at + kOffsetAt, record.offset);
    put64(at + kLengthAt, record.end);
    memcpy(at + kHashAt, record.hash.data(), kSealHashBytes);
    memcpy(at + kTagOffset, record.tag.data(), kSealTagBytes);
    return bytes;
  }
  at[kTypeAt] = static_cast<uint8_t>(record.type);
  at[kSlotsAt] = static_cast<uint8_t>(slots - 1);
  put16(at + kNameLengthAt, static_cast<uint16_t>(record.name.size()));
  put64(at + kSeqAt, record.seq);
  put64(at + kOffsetAt, record.device);
  put64(at + kLengthAt, record.inode);
  std::copy(record.name.begin(), record.name.end(), at + kSlotBytes);
  memcpy(at + kTagOffset, record.tag.data(), kSealTagBytes);
  return bytes;
}

static_assert(kTypeAt == 0 && kSlotsAt == 1 && kNameLengthAt == 2);

bool read_line_seal(const uint8_t* slot, LineSeal* seal) {
  if (!is_line_slot(slot)) return false;
  if (seal != nullptr) {
    seal->line = get32(slot + kLineAt);
    seal->unsealed_before = get32(slot + kUnsealedAt);
    seal->offset = get64(slot + kOffsetAt);
    memcpy(seal->hash.data(), slot + kHashAt, kSealHashBytes);
  }
  return true;
}

SealParse parse_seal(const uint8_t* data, size_t size, SealRecord* record, size_t* used,
                     std::string* why) {
  if (size < kSlotBytes) return SealParse::kIncomplete;
  const uint8_t type = data[kTypeAt];
  if (type < static_cast<uint8_t>(SealType::kLine) ||
      type > static_cast<uint8_t>(SealType::kDigest)) {
    return damaged(why, type == 0 ? "a blank record" : "a record of an unknown type");
  }
  SealRecord read;
  read.type = static_cast<SealType>(type);
  read.seq = get64(data + kSeqAt);
  copy_out(data + kTagOffset, &read.tag);
  if (read.type == SealType::kLine) {
    if (!read_line_seal(data, nullptr)) return damaged(why, "a line record with unused bytes set");
    read.line = get32(data + kLineAt);
    read.offset = get64(data + kOffsetAt);
    read.length = get32(data + kLengthAt);
    read.unsealed_before = get32(data + kUnsealedAt);
    copy_out(data + kHashAt, &read.hash);
    *record = std::move(read);
    *used = kSlotBytes;
    return SealParse::kRecord;
  }
  if (read.type == SealType::kDigest) {
    if (data[kSlotsAt] != 0 || get16(data + kNameLengthAt) != 0) {
      return damaged(why, "a digest record with unused bytes set");
    }
    read.line = get32(data + kLineAt);
    read.offset = get64(data + kOffsetAt);
    read.end = get64(data + kLengthAt);
    copy_out(data + kHashAt, &read.hash);
    *record = std::move(read);
    *used = kSlotBytes;
    return SealParse::kRecord;
  }
  const size_t name_bytes = get16(data + kNameLengthAt);
  const size_t slots = seal_slots(read.type, name_bytes);
  if (name_bytes == 0 || name_bytes > kMaxSealName || data[kSlotsAt] != slots - 1 ||
      get32(data + kLineAt) != 0 || !all_zero(data + kHashAt, data + kTagOffset)) {
    return damaged(why, "a file record whose name does not fit its slots");
  }
  if (size < slots * kSlotBytes) return SealParse::kIncomplete;
  const uint8_t* name = data + kSlotBytes;
  if (!all_zero(name + name_bytes, data + slots * kSlotBytes) ||
      std::find(name, name + name_bytes, 0) != name + name_bytes) {
    return damaged(why, "a file record whose name holds a zero byte");
  }
  read.device = get64(data + kOffsetAt);
  read.inode = get64(data + kLengthAt);
  read.name.assign(reinterpret_cast<const char*>(name), name_bytes);
  *record = std::move(read);
  *used = slots * kSlotBytes;
  return SealParse::kRecord;
}

void encode_chain_head(const ChainHead& head, int chain, uint8_t* file) {
  uint8_t* at = file + kChainsAt + static_cast<size_t>(chain) * kChainBytes;
  put64(at + kNextSeqAt, head.next_seq);
  memcpy(at + kKeyAt, head.key.data(), kChainKeyBytes);
  memcpy(at + kLastTagAt, head.last_tag.data(), kSealTagBytes);
  put64(at + kJournalBytesAt, head.journal_bytes);
  put64(at + kDeviceAt, head.device);
  put64(at + kInodeAt, head.inode);
  put64(at + kNextOffsetAt, head.next_offset);
  put32(at + kNextLineAt, head.next_line);
  put32(at + kUnsealedCountAt, head.unsealed);
  memcpy(at + kNameHashAt, head.name_hash.data(), kSealHashBytes);
  put32(at + kRunOpenAt, head.run_open ? 1 : 0);
}

void encode_key_file(const KeyFileContent& content, uint8_t* out) {
  memset(out, 0, kKeyFileBytes);
  memcpy(out, kKeyFileMagic, sizeof kKeyFileMagic);
  put32(out + kVersionAt, kKeyFileVersion);
  put32(out + kSizeAt, kKeyFileBytes);
  put64(out + kCreatedAt, static_cast<uint64_t>(content.created));
  memcpy(out + kFingerprintAt, content.fingerprint.data(), kFingerprintBytes);
  for (int chain = 0; chain < kSealChains; ++chain) {
    encode_chain_head(content.chains[chain], chain, out);
  }
}

bool parse_key_file(const uint8_t* data, size_t size, KeyFileContent* content, std::string* why) {
  if (size != kKeyFileBytes || memcmp(data, kKeyFileMagic, sizeof kKeyFileMagic) != 0) {
    *why = "not a sealing key file";
    return false;
  }
  if (get32(data + kVersionAt) != kKeyFileVersion || get32(data + kSizeAt) != kKeyFileBytes) {
    *why = "a sealing key file of another version";
    return false;
  }
  KeyFileContent read;
  read.created = static_cast<int64_t>(get64(data + kCreatedAt));
  copy_out(data + kFingerprintAt, &read.fingerprint);
  for (int chain = 0; chain < kSealChains; ++chain) {
    const uint8_t* at = data + kChainsAt + static_cast<size_t>(chain) * kChainBytes;
    ChainHead& head = read.chains[chain];
    head.next_seq = get64(at + kNextSeqAt);
    copy_out(at + kKeyAt, &head.key);
    copy_out(at + kLastTagAt, &head.last_tag);
    head.journal_bytes = get64(at + kJournalBytesAt);
    head.device = get64(at + kDeviceAt);
    head.inode = get64(at + kInodeAt);
    head.next_offset = get64(at + kNextOffsetAt);
    head.next_line = get32(at + kNextLineAt);
    head.unsealed = get32(at + kUnsealedCountAt);
    copy_out(at + kNameHashAt, &head.name_hash);
    head.run_open = get32(at + kRunOpenAt) == 1;
    if (head.journal_bytes % kSlotBytes != 0) {
      *why = "a sealing key file whose journal length is no whole number of slots";
      return false;
    }
  }
  *content = read;
  return true;
}

}  // namespace sarvik
