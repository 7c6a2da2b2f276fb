// A lock file held by scope, for settings files shared with other processes.
#include "settings/file_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace sarvik {

namespace {

constexpr mode_t kLockFileMode = 0644;

// The pauses between two tries of a lock that is held: short at first, for a writer that is
// about to finish, then no more than a few tries a second.
constexpr std::chrono::milliseconds kFirstPause{1};
constexpr std::chrono::milliseconds kLongestPause{100};

// Takes the lock `operation` on `fd`: blocking when `wait_seconds` is 0 or less, otherwise by
// tries that do not block until the time is up. An interrupted flock counts as a failure; there
// is no retry. True when the lock is held.
bool take_lock(int fd, int operation, int wait_seconds) {
  if (wait_seconds <= 0) return flock(fd, operation) == 0;
  using Clock = std::chrono::steady_clock;
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(wait_seconds);
  std::chrono::milliseconds pause = kFirstPause;
  for (;;) {
    if (flock(fd, operation | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK) return false;
    const Clock::time_point now = Clock::now();
    if (now >= deadline) return false;
    std::this_thread::sleep_for(std::min<Clock::duration>(pause, deadline - now));
    pause = std::min(pause * 2, kLongestPause);
  }
}

}  // namespace

FileLock::FileLock(const std::string& path, bool exclusive, int wait_seconds) {
  if (path.empty()) return;
  // The lock's directory is writable by every local user: a link there is not followed (it
  // would have root create or lock a file elsewhere), and a FIFO neither holds the open nor is
  // used. Either is a lock file that cannot be opened.
  fd = open(path.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kLockFileMode);
  struct stat st;
  if (fd >= 0 && (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))) {
    close(fd);
    fd = -1;
  }
  if (fd < 0) throw std::runtime_error("Can't open");
  if (!take_lock(fd, exclusive ? LOCK_EX : LOCK_SH, wait_seconds)) {
    close(fd);
    throw std::runtime_error("Can't Lock");
  }
}

// Closing the descriptor is what releases the lock.
FileLock::~FileLock() {
  if (fd >= 0) close(fd);
}

}  // namespace sarvik
