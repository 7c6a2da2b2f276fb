// Sealing the lines of a log file that is already written, as the service would have sealed them.
#include "seal/existing_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "logstore/log_format.h"
#include "logstore/safe_open.h"

namespace sarvik {

namespace {

constexpr size_t kMarkBytes = sizeof kByteOrderMark - 1;
constexpr size_t kLineEndBytes = sizeof kLineEnd - 1;

bool read_whole(int fd, uint64_t size, std::string* text) {
  text->resize(size);
  for (uint64_t done = 0; done < size;) {
    ssize_t got = pread(fd, &(*text)[done], size - done, static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<uint64_t>(got);
  }
  return true;
}

}  // namespace

bool seal_existing_file(LineSealer& sealer, const std::string& log_root, const std::string& month,
                        const std::string& name, std::string* why) {
  ScopedFd root(open_directory_at(AT_FDCWD, log_root, /*create=*/false, 0));
  ScopedFd dir(root.valid() ? open_directory_at(root.get(), month, /*create=*/false, 0) : -1);
  ScopedFd file(
      dir.valid() ? openat(dir.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)
                  : -1);
  struct stat status;
  std::string content;
  if (!file.valid() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      !read_whole(file.get(), static_cast<uint64_t>(status.st_size), &content)) {
    *why = log_root + "/" + month + "/" + name + ": " + strerror(errno);
    return false;
  }
  const bool marked = content.compare(0, kMarkBytes, kByteOrderMark) == 0;
  std::string text;
  for (size_t start = marked ? kMarkBytes : 0;;) {
    size_t end = content.find(kLineEnd, start);
    if (end == std::string::npos) break;
    text.assign(content, start, end - start);
    sealer.line_written(WrittenLine{log_root, month, name, status.st_dev, status.st_ino, start,
                                    marked && start == kMarkBytes, text});
    start = end + kLineEndBytes;
  }
  return true;
}

}  // namespace sarvik
