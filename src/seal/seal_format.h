// The sealing state on disk: the records of a seal journal and the key file, with their parsers.
#ifndef SARVIK_SEAL_SEAL_FORMAT_H_
#define SARVIK_SEAL_SEAL_FORMAT_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace sarvik {

inline constexpr size_t kSealHashBytes = 16;  // BLAKE2b of a line's bytes
inline constexpr size_t kSealTagBytes = 16;   // Poly1305 tag of a record
inline constexpr size_t kChainKeyBytes = 32;  // the evolving key of a chain
using SealHash = std::array<uint8_t, kSealHashBytes>;
using SealTag = std::array<uint8_t, kSealTagBytes>;
using ChainKey = std::array<uint8_t, kChainKeyBytes>;

// A journal is a sequence of records in slots of 64 bytes, all integers little-endian. A line
// record is one slot; a file or expiry record is one slot followed by the file's name in as many
// slots as it needs, padded with zero bytes. The tag stands at the end of the first slot and
// covers the tag of the record before it, the first slot's other bytes and the name.
inline constexpr size_t kSlotBytes = 64;
inline constexpr size_t kTagOffset = kSlotBytes - kSealTagBytes;
// Names "YYYYMM/file.csv" longer than this cannot be sealed.
inline constexpr size_t kMaxSealName = 5 * kSlotBytes;

enum class SealType : uint8_t {
  kLine = 1,     // one line of a file
  kFile = 2,     // the lines that follow are lines of this file
  kExpired = 3,  // the service's expiry deleted this file
  kDigest = 4,   // the digest of the bytes of the last lines sealed, one after another in the file
};

// The lines a digest covers: a block of lines sealed one after another in one file, so that a
// verifier can check a file that is as sealed a block at a time instead of line by line.
inline constexpr uint32_t kDigestLines = 1024;

// One record of a journal. Line records use seq to unsealed_before and hash; file and expiry
// records use seq, device, inode and name; digest records seq, line (the lines covered), offset
// and end (the bytes covered) and hash (their digest). A plain value.
struct SealRecord {
  SealType type = SealType::kLine;
  uint64_t seq = 0;              // its place in the log's chain, from 0
  uint32_t line = 0;             // the line's number in its file, from 1; 0 when not known
  uint64_t offset = 0;           // of the line's first byte in the file
  uint64_t end = 0;              // of a digest: behind the last byte it covers
  uint32_t length = 0;           // of the line, without its CR LF
  uint32_t unsealed_before = 0;  // lines the service wrote to the file just before, unsealed
  SealHash hash{};
  uint64_t device = 0;
  uint64_t inode = 0;
  std::string name;  // the file below the log's directory: "YYYYMM/access_YYYYMMDDhhmmss.csv"
  SealTag tag{};
};

// The bytes of `record` as the journal holds them, tag included.
std::string encode_seal(const SealRecord& record);
// The same for a line record, into the kSlotBytes at `out`, without allocating.
void encode_line_seal(const SealRecord& record, uint8_t* out);
// The slots a record of a name of `name_bytes` bytes takes: 1 for a line.
size_t seal_slots(SealType type, size_t name_bytes);

// What a reader of lines needs of a line record.
struct LineSeal {
  uint32_t line;
  uint32_t unsealed_before;
  SealHash hash;
  uint64_t offset;
};

// Whether the slot at `slot` begins a line record: its type, and no name (the same test as
// parse_seal's for a line). Inline: a reader of a journal asks it of every slot.
inline bool is_line_slot(const uint8_t* slot) {
  return slot[0] == static_cast<uint8_t>(SealType::kLine) && slot[1] == 0 && slot[2] == 0 &&
         slot[3] == 0;
}

// Whether the slot at `slot` (kSlotBytes) holds a line record, and its fields into `*seal`
// (which may be null). Pure.
bool read_line_seal(const uint8_t* slot, LineSeal* seal);

enum class SealParse { kRecord, kIncomplete, kDamaged };

// Reads the record at the start of the `size` bytes at `data`. kRecord: `*record` holds it and
// `*used` its bytes; kIncomplete: the bytes end inside it; kDamaged: no record can start there,
// with the reason in `*why`. Pure function.
SealParse parse_seal(const uint8_t* data, size_t size, SealRecord* record, size_t* used,
                     std::string* why);

// The key file: a header and, for each of the three logs, the head of its chain and what the
// service needs to go on with the file it writes. The service keeps it mapped and rewrites a
// chain's part for every line it seals, so that the key used before is overwritten.
inline constexpr size_t kKeyFileBytes = 512;
inline constexpr int kSealChains = 3;  // system, access and alert log
inline constexpr size_t kFingerprintBytes = 16;
using KeyFingerprint = std::array<uint8_t, kFingerprintBytes>;

// The head of one log's chain.
struct ChainHead {
  uint64_t next_seq = 0;       // the seq of the next record
  ChainKey key{};              // the key of record next_seq
  SealTag last_tag{};          // the tag of record next_seq - 1; zero before the first
  uint64_t journal_bytes = 0;  // the journal's bytes up to and with record next_seq - 1
  // The file the journal's last run of lines belongs to, and where its next line will begin.
  bool run_open = false;  // a file record for it heads the run
  uint64_t device = 0;
  uint64_t inode = 0;
  SealHash name_hash{};
  uint64_t next_offset = 0;
  uint32_t next_line = 0;  // 0: not known
  uint32_t unsealed = 0;   // lines written to the file since the last seal without one
};

struct KeyFileContent {
  int64_t created = 0;           // when the state was set up, seconds since the epoch
  KeyFingerprint fingerprint{};  // tells the verification key that belongs to the state
  ChainHead chains[kSealChains];
};

// The whole key file; `out` holds kKeyFileBytes.
void encode_key_file(const KeyFileContent& content, uint8_t* out);
// One chain's part of the key file, written in place into a key file at `file`.
void encode_chain_head(const ChainHead& head, int chain, uint8_t* file);
// Reads a key file of `size` bytes; false with the reason in `*why` when it is none. Pure.
bool parse_key_file(const uint8_t* data, size_t size, KeyFileContent* content, std::string* why);

}  // namespace sarvik

#endif  // SARVIK_SEAL_SEAL_FORMAT_H_
