// Opening below a tree that every local user may write, without following a link there.
#include "logstore/safe_open.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sarvik {

namespace {

constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// O_NONBLOCK: a FIFO planted at the name must not hold the service until a reader comes; for a
// regular file the flag changes nothing.
constexpr int kLogFileFlags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr mode_t kPermissionBits = 07777;

// Closes `fd` keeping the errno of the refusal for the caller.
int refuse(int fd, int why) {
  close(fd);
  errno = why;
  return -1;
}

bool entry_has_type(int dir_fd, const char* name, mode_t type, struct stat* st) {
  return fstatat(dir_fd, name, st, AT_SYMLINK_NOFOLLOW) == 0 && (st->st_mode & S_IFMT) == type;
}

}  // namespace

ScopedFd::~ScopedFd() {
  if (fd >= 0) close(fd);
}

int ScopedFd::release() {
  int held = fd;
  fd = -1;
  return held;
}

int open_directory_at(int at_fd, const std::string& name, bool create, mode_t mode) {
  int fd = openat(at_fd, name.c_str(), kDirectoryFlags);
  if (fd >= 0 || !create || errno != ENOENT) return fd;
  // mkdirat never follows a link at `name`: one standing there fails it with EEXIST, and the
  // open below then refuses the link.
  bool made = mkdirat(at_fd, name.c_str(), mode) == 0;
  fd = openat(at_fd, name.c_str(), kDirectoryFlags);
  // The mode goes on the descriptor, so it reaches the directory just made and nothing that a
  // rename could have put at its name. Failure ignored: a narrower directory still takes files.
  if (fd >= 0 && made) fchmod(fd, mode);
  return fd;
}

int open_log_file_at(int dir_fd, const std::string& name, mode_t mode, struct stat* status) {
  int fd = openat(dir_fd, name.c_str(), kLogFileFlags, mode);
  if (fd < 0) return -1;
  if (fstat(fd, status) != 0) return refuse(fd, errno);
  if (!S_ISREG(status->st_mode) || status->st_nlink > 1) return refuse(fd, EINVAL);
  // Only a file of another mode is changed, which saves a call per line in the usual case and
  // gives the same file. Failure ignored: a file with a narrower mode still takes lines.
  if ((status->st_mode & kPermissionBits) != mode) fchmod(fd, mode);
  return fd;
}

bool is_directory_entry(int dir_fd, const char* name) {
  struct stat st;
  return entry_has_type(dir_fd, name, S_IFDIR, &st);
}

bool is_regular_entry(int dir_fd, const char* name, struct stat* status) {
  return entry_has_type(dir_fd, name, S_IFREG, status);
}

}  // namespace sarvik
