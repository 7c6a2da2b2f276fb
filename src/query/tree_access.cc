// Opening and listing inside the log tree without following links.
#include "query/tree_access.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sarvik::query {

Descriptor::~Descriptor() {
  if (fd >= 0) close(fd);
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    if (fd >= 0) close(fd);
    fd = other.release();
  }
  return *this;
}

int Descriptor::release() {
  int released = fd;
  fd = -1;
  return released;
}

Descriptor open_directory_at(int dir, const std::string& name) {
  return Descriptor(openat(dir, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Descriptor open_regular_at(int dir, const std::string& name, std::string* why) {
  Descriptor file(
      openat(dir, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (!file.valid()) {
    *why = errno == ELOOP ? "a link, not read" : strerror(errno);
    return file;
  }
  struct stat status;
  if (fstat(file.get(), &status) != 0) {
    *why = strerror(errno);
    return Descriptor();
  }
  if (!S_ISREG(status.st_mode)) {
    *why = "not a regular file, not read";
    return Descriptor();
  }
  return file;
}

bool list_directory(int dir, std::vector<DirEntry>* entries) {
  int copy = fcntl(dir, F_DUPFD_CLOEXEC, 0);
  if (copy < 0) return false;
  DIR* stream = fdopendir(copy);
  if (stream == nullptr) {
    int saved = errno;
    close(copy);
    errno = saved;
    return false;
  }
  rewinddir(stream);  // the copy shares its position with `dir`
  entries->clear();
  errno = 0;
  while (dirent* entry = readdir(stream)) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
    unsigned char type = entry->d_type;
    if (type == DT_UNKNOWN) {
      struct stat status;
      if (fstatat(dir, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
        type = S_ISDIR(status.st_mode) ? DT_DIR : S_ISREG(status.st_mode) ? DT_REG : DT_LNK;
      }
    }
    DirEntry::Type kind = type == DT_DIR   ? DirEntry::Type::kDirectory
                          : type == DT_REG ? DirEntry::Type::kRegular
                                           : DirEntry::Type::kOther;
    entries->push_back(DirEntry{entry->d_name, kind});
    errno = 0;
  }
  bool complete = errno == 0;
  int saved = errno;
  closedir(stream);
  errno = saved;
  return complete;
}

}  // namespace sarvik::query
