// One comma-separated log on disk: its files by month and line count, its state file, expiry.
#ifndef SARVIK_LOGSTORE_LOG_FILE_H_
#define SARVIK_LOGSTORE_LOG_FILE_H_

#include <time.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "logstore/auto_delete.h"
#include "logstore/free_space.h"
#include "logstore/line_sealer.h"

namespace sarvik {

// Appends lines to one log below `base_dir`/`log_subdir`, in month directories of files named
// prefix, date stamp and suffix. The stream itself is the open log file. The name of the current
// file and its line count outlive the object in the state file `state_dir`/<prefix>info, which
// is rewritten after every line.
//
// Built per request on the main thread and destroyed with it; takes no lock, and at most one
// object per log may exist at a time. Failures of the file system never raise: they show as the
// result 1 of write_line or go unnoticed.
//
// Every local user may write the log tree, and the service runs as root: below the base
// directory it never follows a link, and it writes only to a regular file with one link. A link
// or anything else standing where a directory or the log file belongs makes the file one that
// cannot be opened. The base directory itself is the administrator's choice and may be a link.
class LogFile : public std::basic_ofstream<char> {
 public:
  // Opens and touches nothing.
  LogFile(const std::string& base_dir, const std::string& log_subdir, const std::string& prefix,
          const std::string& suffix, const std::string& state_dir);
  ~LogFile() override;

  // Runs the expiry pass, picks the file for `when`, appends `line` and CR LF, and saves the
  // state. Returns 0 when the line went to the stream, 1 when the base directory is missing or
  // the file could not be opened. A failed write is not noticed and still counts as a line.
  int write_line(time_t when, const std::string& line);

 private:
  // State file and the opening of a log file (log_file.cc).
  void load_info();
  void save_info();
  bool open_appending(const std::string& month_dir, const std::string& name);
  void tell_sealer(const std::string& line);

  // Rotation (log_rotation.cc).
  void roll(time_t when);
  std::string file_name_for(time_t when);

  // Expiry (log_expiry.cc).
  void expire_logs(time_t when);
  void expire_month_dir(time_t when, int root_fd, const std::string& dir);
  bool is_expired(time_t when, const std::string& name) const;
  bool is_log_name(const std::string& name) const;
  static long to_days(long seconds);

  std::string base_dir;   // must exist for the log to take lines: the volume
  std::string log_root;   // base_dir joined with the log's sub-directory
  std::string prefix;     // first part of a log file's name
  std::string suffix;     // last part of a log file's name
  std::string info_path;  // the state file
  std::string file_path;  // the file the stream has open; empty until roll has opened one
  std::string file_name;  // the current file's name, without directory
  int32_t line_count;     // lines in the current file

  // The open file as the sealer needs to know it.
  std::string open_month;  // its month directory
  dev_t open_device = 0;
  ino_t open_inode = 0;
  uint64_t open_end = 0;      // its size at the open, grown by every line written since
  bool end_known = false;     // false after a write that failed
  bool opened_empty = false;  // it was empty at the open

 public:
  // The expiry settings; assigned by the caller before the first write_line. All zero (off) by
  // default, which is how the alert log keeps all its files.
  AutoDelete auto_delete;
  // How the expiry pass learns the free space of the volume; the service keeps the default, a
  // test may give a volume of any fullness.
  FreeSpaceProbe free_space = volume_free_percent;
  // Told of every line written and every file expired, to seal them; null (the default) when
  // the lines are not sealed. Must outlive the object.
  LineSealer* sealer = nullptr;
};

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_LOG_FILE_H_
