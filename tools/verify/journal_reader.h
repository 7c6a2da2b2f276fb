// Reading a seal journal record by record, in large blocks.
#ifndef SARVIK_TOOLS_VERIFY_JOURNAL_READER_H_
#define SARVIK_TOOLS_VERIFY_JOURNAL_READER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "seal/seal_format.h"

namespace sarvik::verify {

// Reads the records of the journal open as `fd` from its start to the end of its records as it
// stands when the reader is made (journal_records_end), a block at a time into one buffer.
// Bytes that are no record (a hole, another hand's writing) are passed over a slot at a
// time and told as damage; a record cut short at the end of the journal is left. One reader per
// thread; the descriptor must outlive it.
class JournalReader {
 public:
  explicit JournalReader(int fd);

  enum class Step { kRecord, kDamaged, kEnd, kError };
  // The next record: kRecord with `*record`, its bytes (valid until the next call) and its
  // offset; kDamaged with the reason in `*why` and the offset of the slot passed over; kEnd at
  // the end; kError when reading failed (errno set).
  Step next(SealRecord* record, const uint8_t** bytes, uint64_t* offset, std::string* why);
  // Passes over the line records that come next without reading more of them than their type;
  // false when reading failed (errno set). `*count` receives how many.
  bool skip_line_records(uint64_t* count);

 private:
  bool fill();

  int fd;
  uint64_t limit = 0;  // the end of the records
  bool limit_known = false;
  std::vector<uint8_t> buffer;
  size_t start = 0;  // the first byte not handed over yet
  size_t filled = 0;
  uint64_t buffer_offset = 0;  // of the buffer's first byte in the journal
  bool at_end = false;
};

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_JOURNAL_READER_H_
