// Which file each seal of a journal belongs to: the index that one pass over a journal builds.
#ifndef SARVIK_TOOLS_VERIFY_JOURNAL_INDEX_H_
#define SARVIK_TOOLS_VERIFY_JOURNAL_INDEX_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "verify/line_matching.h"

namespace sarvik::verify {

// Line records that stand one after another in the journal.
struct SealSpan {
  uint64_t offset;  // of the first
  uint64_t records;
};

// The digest of a block of lines of a generation: its bytes [from, to) are the lines of its
// seals [seal_end - lines, seal_end), counted among the generation's line seals.
struct BlockDigest {
  uint64_t from;
  uint64_t to;
  uint32_t lines;
  uint64_t seal_end;
  SealHash digest;
};

// The seals of one file as the service found it: one identity (device, inode). A name gets a
// generation of its own whenever the service wrote to another file of that name.
struct SealedGeneration {
  uint64_t device = 0;
  uint64_t inode = 0;
  bool expired = false;     // the service's expiry deleted this file
  uint32_t first_line = 0;  // the sealed number of its first sealed line
  uint64_t lines = 0;
  std::vector<SealSpan> spans;
  std::vector<BlockDigest> digests;
};

// Every generation of one name ("YYYYMM/file.csv" below the log's directory), in the order of
// the journal.
struct SealedFile {
  std::vector<SealedGeneration> generations;
};

// The index of one journal. Built by read(); then read-only and safe to share between threads.
class JournalIndex {
 public:
  // Reads the journal open as `fd`. Damaged records are passed over and noted in damage(); the
  // lines they held go unsealed. False with errno set when the journal cannot be read.
  bool read(int fd);

  const std::map<std::string, SealedFile>& files() const { return by_name; }
  // Slots of the journal that hold no record.
  uint64_t damaged_slots() const { return damaged; }
  // The first of them: "byte N: reason"; empty when there is none.
  const std::string& first_damage() const { return first_damaged; }
  uint64_t records() const { return record_count; }

 private:
  std::map<std::string, SealedFile> by_name;
  uint64_t damaged = 0;
  std::string first_damaged;
  uint64_t record_count = 0;
};

// The seals of the journal `fd` that `spans` name, in order; those at or behind the journal's
// byte `late_from` marked late. False with errno set when they cannot be read.
bool read_sealed_lines(int fd, const std::vector<SealSpan>& spans, uint64_t late_from,
                       std::vector<SealedLine>* lines);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_JOURNAL_INDEX_H_
