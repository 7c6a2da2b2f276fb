// Writes one log as the service lays it out on disk, in large writes instead of line by line.
#include "tree_writer.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include "logstore/log_format.h"
#include "logstore/log_names.h"
#include "logstore/path.h"

namespace sarvik::corpus {

namespace {

constexpr size_t kBufferBytes = 4 << 20;

[[noreturn]] void fail(const char* what, const std::string& path) {
  throw std::runtime_error(std::string(what) + " " + path + ": " + strerror(errno));
}

}  // namespace

TreeWriter::TreeWriter(const std::string& base_dir, const LogKind& kind)
    : log_root(join_path(base_dir, kind.subdir)), prefix(kind.prefix), suffix(kind.suffix) {
  buffer.reserve(kBufferBytes + 4096);
}

TreeWriter::~TreeWriter() {
  try {
    finish();
  } catch (const std::runtime_error&) {
    // failure ignored: a destructor cannot report it; callers that care call finish()
  }
}

void TreeWriter::write_line(time_t when, const std::string& line) {
  roll(when);
  buffer += line;
  buffer += kLineEnd;
  ++line_count;
  ++total_lines;
  if (buffer.size() >= kBufferBytes) flush();
}

void TreeWriter::finish() {
  flush();
  if (fd >= 0) close(fd);
  fd = -1;
}

// The service's choice of file: the current one while the line's month is the month of its
// stamp and it holds fewer than kLineLimit lines; otherwise a name stamped with this line's
// time, which is the current name again when the line has the very stamp of the current file.
void TreeWriter::roll(time_t when) {
  struct tm local = {};
  localtime_r(&when, &local);
  bool keep = !file_name.empty() && line_count < kLineLimit && local.tm_year == year &&
              local.tm_mon == month;
  if (keep) return;
  std::string name = prefix + stamp_for(when) + suffix;
  if (name == file_name) return;
  finish();
  std::string dir = join_path(log_root, month_dir_for(when));
  ensure_dir(log_root);
  ensure_dir(dir);
  file_path = join_path(dir, name);
  fd = open(file_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kFileMode);
  if (fd < 0) fail("cannot open", file_path);
  struct stat status;
  if (fchmod(fd, kFileMode) != 0 || fstat(fd, &status) != 0) fail("cannot set up", file_path);
  if (status.st_size == 0) buffer += kByteOrderMark;
  file_name = name;
  line_count = 0;
  year = local.tm_year;
  month = local.tm_mon;
  ++total_files;
}

void TreeWriter::flush() {
  size_t done = 0;
  while (done < buffer.size()) {
    ssize_t n = write(fd, buffer.data() + done, buffer.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) fail("cannot write", file_path);
    done += static_cast<size_t>(n);
  }
  total_bytes += buffer.size();
  buffer.clear();
}

void TreeWriter::ensure_dir(const std::string& path) {
  if (path_exists(path)) return;
  if (mkdir(path.c_str(), kDirMode) != 0 && errno != EEXIST) fail("cannot make", path);
  if (chmod(path.c_str(), kDirMode) != 0) fail("cannot set the mode of", path);
}

}  // namespace sarvik::corpus
