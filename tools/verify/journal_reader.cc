// Reading a seal journal record by record, in large blocks.
#include "verify/journal_reader.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "seal/journal_end.h"

namespace sarvik::verify {

namespace {

// A block of this size is read at a time; a whole number of slots.
constexpr size_t kBlockBytes = size_t{1} << 20;

}  // namespace

JournalReader::JournalReader(int fd) : fd(fd), buffer(kBlockBytes) {
  struct stat status;
  limit_known = fstat(fd, &status) == 0 &&
                journal_records_end(fd, static_cast<uint64_t>(status.st_size), &limit);
}

bool JournalReader::fill() {
  if (!limit_known) return false;
  if (start > 0) {
    memmove(buffer.data(), buffer.data() + start, filled - start);
    buffer_offset += start;
    filled -= start;
    start = 0;
  }
  while (filled < buffer.size()) {
    const uint64_t at = buffer_offset + filled;
    const size_t wanted = static_cast<size_t>(
        std::min<uint64_t>(buffer.size() - filled, limit > at ? limit - at : 0));
    ssize_t got =
        wanted == 0 ? 0 : pread(fd, buffer.data() + filled, wanted, static_cast<off_t>(at));
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
