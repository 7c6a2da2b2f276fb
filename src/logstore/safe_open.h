// Opening below a tree that every local user may write, without following a link there.
#ifndef SARVIK_LOGSTORE_SAFE_OPEN_H_
#define SARVIK_LOGSTORE_SAFE_OPEN_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

namespace sarvik {

// Owns one descriptor and closes it on destruction; -1 holds none. Not copyable.
class ScopedFd {
 public:
  explicit ScopedFd(int fd = -1) : fd(fd) {}
  ~ScopedFd();
  ScopedFd(const ScopedFd&) = delete;
  ScopedFd& operator=(const ScopedFd&) = delete;

  int get() const { return fd; }
  bool valid() const { return fd >= 0; }
  // Hands the descriptor over to the caller; the object holds none afterwards.
  int release();

 private:
  int fd;
};

// The directory `name` below the open directory `at_fd` (AT_FDCWD: `name` is a path, whose last
// component alone is held to these rules), opened for reading. A link or anything but a
// directory standing at `name` gives -1. With `create`, a missing directory is made first, and
// then only, the one just made gets `mode` whatever the file-creation mask says; an existing
// directory keeps the mode it has. Returns the descriptor (close-on-exec) or -1; errno tells why.
int open_directory_at(int at_fd, const std::string& name, bool create, mode_t mode);

// The log file `name` below the open directory `dir_fd`, opened for appending and created with
// `mode` when missing. Refused with -1 (errno ELOOP for a link, EINVAL otherwise), after opening
// nothing that could block: a link, anything but a regular file (a FIFO is opened without
// waiting for a peer and let go at once), and a file with more than one hard link, through which
// a planted link would let the service append to a file elsewhere. A file of another mode gets
// `mode`. `status` receives the file's status at the open (its size and identity). Returns the
// descriptor (close-on-exec).
int open_log_file_at(int dir_fd, const std::string& name, mode_t mode, struct stat* status);

// Whether the entry `name` of the open directory `dir_fd` is itself (not through a link) a
// directory, or a regular file; `status` receives the regular file's status.
bool is_directory_entry(int dir_fd, const char* name);
bool is_regular_entry(int dir_fd, const char* name, struct stat* status);

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_SAFE_OPEN_H_
