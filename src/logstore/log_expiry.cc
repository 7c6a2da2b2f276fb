// One log on disk: deleting old files while the volume is short of space.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>

#include "logstore/directory.h"
#include "logstore/log_file.h"
#include "logstore/log_format.h"
#include "logstore/log_names.h"
#include "logstore/safe_open.h"

namespace sarvik {

// Free space is only the gate and age decides what goes. One pass removes every file that
// qualifies and does not look at the space again. Directories of the log root are entered by the
// date in their name alone; month directories are never removed, not even when empty.
//
// The walk goes from the opened directories by name and never through a link: it enters only
// real directories and deletes only regular files, so a link planted in the tree neither leads
// it elsewhere nor is deleted.
void LogFile::expire_logs(time_t when) {
  if (!auto_delete.enable) return;
  if (auto_delete.percent < static_cast<int32_t>(free_space(log_root))) return;
  Directory root(open_directory_at(AT_FDCWD, log_root, /*create=*/false, 0),
                 DirEntryIterator::DefaultIgnoreList());
  for (const dirent& entry : root) {
    if (!is_directory_entry(root.descriptor(), entry.d_name)) continue;
    if (is_expired(when, entry.d_name)) expire_month_dir(when, root.descriptor(), entry.d_name);
  }
}

void LogFile::expire_month_dir(time_t when, int root_fd, const std::string& dir) {
  Directory month(open_directory_at(root_fd, dir, /*create=*/false, 0),
                  DirEntryIterator::DefaultIgnoreList());
  for (const dirent& entry : month) {
    if (!is_log_name(entry.d_name) || !is_expired(when, entry.d_name)) continue;
    struct stat status;
    if (!is_regular_entry(month.descriptor(), entry.d_name, &status)) continue;
    // Failure ignored: an entry that vanished or cannot go is passed over. Should a link replace
    // the file after the test, unlinkat removes the link itself and never what it points to.
    if (unlinkat(month.descriptor(), entry.d_name, 0) != 0) continue;
    if (sealer != nullptr) {
      sealer->file_expired(ExpiredFile{dir, entry.d_name, status.st_dev, status.st_ino});
    }
  }
}

// The name's date is read as local time; a date in the future of `when` is never old.
bool LogFile::is_expired(time_t when, const std::string& name) const {
  std::string digits = stamp_digits(name, prefix);
  if (digits.empty()) return false;
  struct tm fields = parse_stamp(digits);
  time_t stamped = mktime(&fields);
  if (when < stamped) return false;
  return auto_delete.days <= static_cast<int32_t>(to_days(when - stamped));
}

bool LogFile::is_log_name(const std::string& name) const {
  if (name.compare(0, prefix.size(), prefix) != 0) return false;
  return name.size() >= suffix.size() &&
         name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

long LogFile::to_days(long seconds) { return seconds / kSecondsPerDay; }

}  // namespace sarvik
