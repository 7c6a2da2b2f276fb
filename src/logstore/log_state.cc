// The state file of a log: the text that names its current file and counts its lines.
#include "logstore/log_state.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace sarvik {

namespace {

// The blanks that a stream skips in front of a number, those of the classic locale.
bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Writes all of `size` bytes, as a stream does when the system takes fewer at a time.
void write_all(int fd, const char* data, size_t size) {
  while (size > 0) {
    ssize_t written = write(fd, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    data += written;
    size -= static_cast<size_t>(written);
  }
}

// Bytes a stream asks for in one read of the state file; a regular file that returns fewer is
// at its end.
constexpr size_t kReadChunk = 8191;

// Added to every open of a state file: it is never reached through a link, and a FIFO put at its
// name cannot hold the service.
constexpr int kSafeFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

}  // namespace

void parse_state(const std::string& text, std::string* file_name, int32_t* line_count) {
  size_t line_end = text.find('\n');
  *file_name = text.substr(0, line_end);
  if (line_end == std::string::npos) return;  // the stream ended in the name: no number read
  size_t pos = line_end + 1;
  while (pos < text.size() && is_blank(text[pos])) ++pos;
  if (pos == text.size()) return;  // nothing but blanks: no number read
  // What follows the number is ignored; no number at all reads as 0.
  long value = std::strtol(text.c_str() + pos, nullptr, 10);
  if (value > INT32_MAX) value = INT32_MAX;
  if (value < INT32_MIN) value = INT32_MIN;
  *line_count = static_cast<int32_t>(value);
}

void write_state(const std::string& path, const std::string& file_name, int32_t line_count) {
  // The flags of a standard output stream opened for truncation, and the stream's mode; a link at
  // the path is refused, and a FIFO there refuses at once instead of waiting for a reader.
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | kSafeFlags, 0666);
  if (fd < 0) return;
  std::string name_line = file_name + '\n';
  write_all(fd, name_line.data(), name_line.size());
  std::string count_line = std::to_string(line_count) + '\n';
  write_all(fd, count_line.data(), count_line.size());
  close(fd);  // failure ignored: nothing is reported about the state file
}

bool read_state_file(const std::string& path, std::string* text) {
  int fd = open(path.c_str(), O_RDONLY | kSafeFlags);
  if (fd < 0) return false;
  text->clear();
  char chunk[kReadChunk];
  for (;;) {
    ssize_t got = read(fd, chunk, sizeof chunk);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    text->append(chunk, static_cast<size_t>(got));
    if (static_cast<size_t>(got) < sizeof chunk) break;  // a regular file is at its end
  }
  close(fd);
  return true;
}

}  // namespace sarvik
