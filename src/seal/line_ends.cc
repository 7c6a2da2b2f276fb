// Counting the lines of a log file that the sealer did not see written.
#include "seal/line_ends.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "logstore/safe_open.h"

namespace sarvik {

namespace {

constexpr size_t kChunk = size_t{64} * 1024;

}  // namespace

bool count_line_ends(const std::string& log_root, const std::string& month, const std::string& name,
                     dev_t device, ino_t inode, uint64_t from, uint64_t to, uint64_t* count) {
  if (to < from || to - from > kMostBytesCounted) return false;
  ScopedFd root(open_directory_at(AT_FDCWD, log_root, /*create=*/false, 0));
  if (!root.valid()) return false;
  ScopedFd dir(open_directory_at(root.get(), month, /*create=*/false, 0));
  if (!dir.valid()) return false;
  ScopedFd file(openat(dir.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status;
  if (!file.valid() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_dev != device || status.st_ino != inode) {
    return false;
  }
  // The byte before `from` tells whether a line feed right at `from` ends a line.
  uint64_t at = from > 0 ? from - 1 : 0;
  bool after_cr = false;
  uint64_t found = 0;
  char chunk[kChunk];
  while (at < to) {
    size_t want = static_cast<size_t>(to - at < kChunk ? to - at : kChunk);
    ssize_t got = pread(file.get(), chunk, want, static_cast<off_t>(at));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;  // shorter than the line's offset: another hand cut it
    for (ssize_t i = 0; i < got; ++i) {
      if (chunk[i] == '\n' && after_cr && at + static_cast<uint64_t>(i) >= from) ++found;
      after_cr = chunk[i] == '\r';
    }
    at += static_cast<uint64_t>(got);
  }
  *count = found;
  return true;
}

}  // namespace sarvik
