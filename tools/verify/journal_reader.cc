// Reading a seal journal record by record, in large blocks.
#include "verify/journal_reader.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

namespace sarvik::verify {

namespace {

// A block of this size is read at a time; a whole number of slots.
constexpr size_t kBlockBytes = size_t{1} << 20;

}  // namespace

JournalReader::JournalReader(int fd) : fd(fd), buffer(kBlockBytes) {}

bool JournalReader::fill() {
  if (start > 0) {
    memmove(buffer.data(), buffer.data() + start, filled - start);
    buffer_offset += start;
    filled -= start;
    start = 0;
  }
  while (filled < buffer.size()) {
    ssize_t got = pread(fd, buffer.data() + filled, buffer.size() - filled,
                        static_cast<off_t>(buffer_offset + filled));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) {
      at_end = true;
      break;
    }
    filled += static_cast<size_t>(got);
  }
  return true;
}

bool JournalReader::skip_line_records(uint64_t* count) {
  *count = 0;
  for (;;) {
    const uint8_t* data = buffer.data();
    size_t at = start;
    while (filled - at >= kSlotBytes && is_line_slot(data + at)) at += kSlotBytes;
    *count += (at - start) / kSlotBytes;
    start = at;
    if (filled - start >= kSlotBytes || at_end) return true;
    if (!fill()) return false;
  }
}

JournalReader::Step JournalReader::next(SealRecord* record, const uint8_t** bytes, uint64_t* offset,
                                        std::string* why) {
  for (;;) {
    size_t used = 0;
    SealParse parse = parse_seal(buffer.data() + start, filled - start, record, &used, why);
    if (parse == SealParse::kRecord) {
      *bytes = buffer.data() + start;
      *offset = buffer_offset + start;
      start += used;
      return Step::kRecord;
    }
    if (parse == SealParse::kDamaged) {
      *offset = buffer_offset + start;
      start += kSlotBytes;
      return Step::kDamaged;
    }
    if (at_end) return Step::kEnd;
    if (!fill()) return Step::kError;
  }
}

}  // namespace sarvik::verify
