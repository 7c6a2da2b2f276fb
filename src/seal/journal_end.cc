// Where the records of a seal journal end.
#include "seal/journal_end.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "seal/seal_format.h"

namespace sarvik {

bool journal_records_end(int fd, uint64_t size, uint64_t* end) {
  constexpr uint64_t kChunk = uint64_t{64} << 10;  // read backwards this much at a time
  std::vector<uint8_t> chunk(kChunk);
  for (uint64_t to = size; to > 0;) {
    const uint64_t from = to > kChunk ? to - kChunk : 0;
    ssize_t got = pread(fd, chunk.data(), to - from, static_cast<off_t>(from));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) {  // the journal shrank meanwhile: its end lies before
      to = from;
      continue;
    }
    const auto last = std::find_if(std::make_reverse_iterator(chunk.begin() + got), chunk.rend(),
                                   [](uint8_t byte) { return byte != 0; });
    if (last != chunk.rend()) {
      const uint64_t past = from + static_cast<uint64_t>(chunk.rend() - last);
      *end = std::min(size, (past + kSlotBytes - 1) / kSlotBytes * kSlotBytes);
      return true;
    }
    to = from;
  }
  *end = 0;
  return true;
}

}  // namespace sarvik
