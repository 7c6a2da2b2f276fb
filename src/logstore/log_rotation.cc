// One log on disk: which file a line goes to, by month and by line count.
#include "logstore/log_file.h"
#include "logstore/log_format.h"
#include "logstore/log_names.h"
#include "logstore/path.h"

namespace sarvik {

// A name is chosen from the first line of a file and kept while the line's month equals the
// month in the name and the file holds fewer than kLineLimit lines. The month test is inequality,
// not order: a line of a past month starts a new file too.
std::string LogFile::file_name_for(time_t when) {
  if (!file_name.empty() && line_count < kLineLimit) {
    std::string digits = stamp_digits(file_name, prefix);
    if (!digits.empty()) {
      struct tm now = {};
      localtime_r(&when, &now);  // failure leaves zeros, which only makes a fresh name likelier
      struct tm named = parse_stamp(digits);
      if (now.tm_year == named.tm_year && now.tm_mon == named.tm_mon) return file_name;
    }
  }
  return prefix + stamp_for(when) + suffix;
}

// Makes file_path and the stream fit `when`. Leaves file_path empty when the file cannot be
// opened; file_name and line_count then stay as they are.
void LogFile::roll(time_t when) {
  if (file_name.empty()) load_info();
  const std::string month = month_dir_for(when);
  std::string dir = join_path(log_root, month);
  std::string name = file_name_for(when);
  std::string path = join_path(dir, name);
  // The existence test heals a current file deleted behind our back, by expiry or by hand: the
  // same name comes back as a fresh file and the count starts again. When the stamp of a line is
  // the very stamp of a full file, the names agree and the count keeps rising past the limit.
  if (name != file_name || !path_exists(path)) {
    file_name = name;
    line_count = 0;
    save_info();
    if (is_open()) close();  // a failed close only sets the stream's failure state
  }
  file_path = path;
  if (is_open()) return;
  if (!open_appending(month, name)) file_path.clear();
}

}  // namespace sarvik
