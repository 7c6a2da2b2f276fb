// One log on disk: writing lines and keeping the state file.
#include "logstore/log_file.h"

#include <sys/stat.h>

#include "logstore/log_format.h"
#include "logstore/log_state.h"
#include "logstore/path.h"

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
  return 0;
}

// Read failures are ignored: a missing number leaves the count at 0, an empty file the name empty.
void LogFile::load_info() {
  if (!path_exists(info_path)) return;
  std::string text;
  if (read_state_file(info_path, &text)) parse_state(text, &file_name, &line_count);
}

// Replaces the state file as a whole. Failures are ignored and change no field.
void LogFile::save_info() { write_state(info_path, file_name, line_count); }

// Results ignored on purpose: a failure surfaces as a failed open of the log file. The chmod is
// what gives the directory its full mode whatever the file-creation mask says.
void LogFile::ensure_dir(const std::string& path) {
  if (path_exists(path)) return;
  mkdir(path.c_str(), kDirMode);
  chmod(path.c_str(), kDirMode);
}

// Result ignored on purpose: a file with a narrower mode still takes lines.
void LogFile::set_file_mode(const std::string& path) { chmod(path.c_str(), kFileMode); }

}  // namespace sarvik
