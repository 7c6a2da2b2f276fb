// One log on disk: writing lines and keeping the state file.
#include "logstore/log_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <ext/stdio_filebuf.h>

#include "logstore/log_format.h"
#include "logstore/log_state.h"
#include "logstore/path.h"
#include "logstore/safe_open.h"

namespace sarvik {

LogFile::LogFile(const std::string& base_dir, const std::string& log_subdir,
                 const std::string& prefix, const std::string& suffix, const std::string& state_dir)
    : base_dir(base_dir),
      log_root(join_path(base_dir, log_subdir)),
      prefix(prefix),
      suffix(suffix),
      info_path(join_path(state_dir, prefix + "info")),
      line_count(0) {}

// The stream closes the file; a close failure there is ignored.
LogFile::~LogFile() = default;

int LogFile::write_line(time_t when, const std::string& line) {
  // A volume that is not mounted: no expiry, no directory, no change of the state file.
  if (!path_exists(base_dir)) return 1;
  expire_logs(when);  // first, so that roll sees the files as they stand afterwards
  roll(when);
  if (file_path.empty()) return 1;
  // The stream's state is not examined: a failed write (a full volume) still counts as a line.
  *this << line << kLineEnd << std::flush;
  ++line_count;
  save_info();
  if (sealer != nullptr) tell_sealer(line);
  return 0;
}

// A write that failed leaves the end of the file unknown: that line and the later ones of this
// object are not told, and the sealer learns where the file stands from the next object's open.
void LogFile::tell_sealer(const std::string& line) {
  if (fail()) end_known = false;
  if (!end_known) return;
  const uint64_t offset = open_end;
  open_end += line.size() + sizeof kLineEnd - 1;
  sealer->line_written(WrittenLine{log_root, open_month, file_name, open_device, open_inode, offset,
                                   opened_empty, line});
}

// Read failures are ignored: a missing number leaves the count at 0, an empty file the name empty.
void LogFile::load_info() {
  if (!path_exists(info_path)) return;
  std::string text;
  if (read_state_file(info_path, &text)) parse_state(text, &file_name, &line_count);
}

// Replaces the state file as a whole. Failures are ignored and change no field.
void LogFile::save_info() { write_state(info_path, file_name, line_count); }

// Makes the log root and the month directory `month_dir` as needed and opens the file `name` in
// it for appending, each step relative to the directory opened before, so that nothing a user
// renames or links in between can redirect it. False when any of them cannot be opened.
//
// The standard file stream can open only a path, which would follow a link. So the descriptor is
// opened here and handed to libstdc++'s __gnu_cxx::stdio_filebuf, a std::basic_filebuf that
// takes a descriptor; its file is then swapped into the stream's own buffer, which from there on
// owns and closes it exactly as if the stream had opened the file itself (is_open, close and the
// destructor work unchanged).
bool LogFile::open_appending(const std::string& month_dir, const std::string& name) {
  ScopedFd root(open_directory_at(AT_FDCWD, log_root, /*create=*/true, kDirMode));
  if (!root.valid()) return false;
  ScopedFd month(open_directory_at(root.get(), month_dir, /*create=*/true, kDirMode));
  if (!month.valid()) return false;
  struct stat opened_status;
  int fd = open_log_file_at(month.get(), name, kFileMode, &opened_status);
  if (fd < 0) return false;
  __gnu_cxx::stdio_filebuf<char> opened(fd, std::ios::out | std::ios::app);
  if (!opened.is_open()) {
    ::close(fd);
    return false;
  }
  rdbuf()->swap(opened);
  clear();
  open_month = month_dir;
  open_device = opened_status.st_dev;
  open_inode = opened_status.st_ino;
  open_end = static_cast<uint64_t>(opened_status.st_size);
  opened_empty = opened_status.st_size == 0;
  end_known = true;
  // The size at the open tells an empty file, which gets the byte-order mark.
  if (opened_empty) {
    *this << kByteOrderMark << std::flush;
    open_end += sizeof kByteOrderMark - 1;
  }
  return true;
}

}  // namespace sarvik
