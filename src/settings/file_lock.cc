// A lock file held by scope, for settings files shared with other processes.
#include "settings/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <stdexcept>

namespace sarvik {

namespace {

constexpr mode_t kLockFileMode = 0644;

}  // namespace

FileLock::FileLock(const std::string& path, bool exclusive) {
  if (path.empty()) return;
  fd = open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, kLockFileMode);
  if (fd < 0) throw std::runtime_error("Can't open");
  // An interrupted flock counts as a failure; there is no retry.
  if (flock(fd, exclusive ? LOCK_EX : LOCK_SH) != 0) {
    close(fd);
    throw std::runtime_error("Can't Lock");
  }
}

// Closing the descriptor is what releases the lock.
FileLock::~FileLock() {
  if (fd >= 0) close(fd);
}

}  // namespace sarvik
