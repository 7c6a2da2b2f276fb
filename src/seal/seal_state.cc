// Opening the sealing state: its directory and files, never through a link.
#include "seal/seal_state.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "logstore/safe_open.h"
#include "seal/seal_paths.h"

namespace sarvik {

namespace {

// What anybody but the owner may do to a file or directory of a state that is written.
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr mode_t kOthersAny = S_IRWXG | S_IRWXO;

int refuse(int fd, int error, const std::string& reason, std::string* why) {
  if (fd >= 0) close(fd);
  *why = reason;
  errno = error;
  return -1;
}

}  // namespace

int open_seal_dir(const std::string& path, SealAccess access, std::string* why) {
  int fd = open_directory_at(AT_FDCWD, path, /*create=*/false, 0);
  if (fd < 0) {
    int error = errno;
    return refuse(-1, error, path + ": " + (error == ELOOP ? "a link" : strerror(error)), why);
  }
  struct stat status;
  if (fstat(fd, &status) != 0) return refuse(fd, errno, path + ": " + strerror(errno), why);
  if (access == SealAccess::kWrite &&
      (status.st_uid != geteuid() || (status.st_mode & kOthersWrite) != 0)) {
    return refuse(fd, EPERM, path + ": open to others than its owner", why);
  }
  return fd;
}

int open_seal_file(int dir_fd, const char* name, SealAccess access, bool create,
                   struct stat* status, std::string* why) {
  int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
  flags |= access == SealAccess::kWrite ? O_RDWR : O_RDONLY;
  if (create && access == SealAccess::kWrite) flags |= O_CREAT;
  int fd = openat(dir_fd, name, flags, kSealFileMode);
  if (fd < 0) {
    int error = errno;
    return refuse(-1, error,
                  std::string(name) + ": " + (error == ELOOP ? "a link" : strerror(error)), why);
  }
  if (fstat(fd, status) != 0)
    return refuse(fd, errno, std::string(name) + ": " + strerror(errno), why);
  if (!S_ISREG(status->st_mode) || status->st_nlink != 1) {
    return refuse(fd, EINVAL, std::string(name) + ": not a regular file with one link", why);
  }
  if (access == SealAccess::kWrite &&
      (status->st_uid != geteuid() || (status->st_mode & kOthersAny) != 0)) {
    return refuse(fd, EPERM, std::string(name) + ": open to others than its owner", why);
  }
  return fd;
}

}  // namespace sarvik
