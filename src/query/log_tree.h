// The files of one log below a volume, in order, and which of them can hold a time range.
#ifndef SARVIK_QUERY_LOG_TREE_H_
#define SARVIK_QUERY_LOG_TREE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "logstore/log_kinds.h"
#include "query/problems.h"
#include "query/time_range.h"
#include "query/tree_access.h"

namespace sarvik::query {

// How far a later line's time may read earlier than an earlier line's in a log whose lines are
// written in time order: the widest step back that local time takes when the zone changes (from
// UTC+14 to UTC-12). Daylight saving steps back one hour at most.
inline constexpr int64_t kOrderSlack = int64_t{26} * 3600;

// Whether the month directory named by `month` (its six digits) can hold lines inside `range`.
bool month_overlaps(const std::string& month, const TimeRange& range);

// One log file to read, named by its month directory and its name.
struct LogFileEntry {
  std::string month;
  std::string name;
  // Every line of the file lies inside the time range: no line needs to be tested.
  bool whole = false;
  // The file's lines are in time order (access and alert logs): once a line reads later than
  // this time text, no later line can be inside the range. Empty: read to the end.
  std::string stop_after;
};

// One log (system, access or alert) below a volume. The log's directory and its month
// directories are opened without following links; the files are listed with their kind's
// prefix and suffix, month directories by their six digits, and anything else is passed over.
// Used by one thread while it lists; open_file may then be called from any thread.
class LogTree {
 public:
  LogTree(const std::string& root, const LogKind& kind);

  // Opens the volume; false with a reason when it cannot be opened. A volume without the log's
  // directory is no error: the log has no lines yet.
  bool open(std::string* error);
  // Opens the log's directory if that has not happened yet; true when it is open.
  bool open_log_dir();
  bool has_log_dir() const { return log_dir.valid(); }

  // The files that can hold lines inside `range`, oldest first (months in order, files by
  // name), with what is known of their lines. Pruning uses two facts of the service's writing:
  // every line of a file lies in the month of its directory, and the name of a file carries the
  // time of its first line. Only where lines are in time order (access, alert) does a file's
  // name also bound the lines of the file before it. Problems with directories are reported.
  std::vector<LogFileEntry> files(const TimeRange& range, Problems& problems) const;

  // The month directories, sorted.
  std::vector<std::string> months(Problems& problems) const;
  // The log files of one month directory, sorted by name.
  std::vector<std::string> files_of_month(const std::string& month, Problems& problems) const;

  // The file, opened for reading; invalid with a reason in `why`.
  Descriptor open_file(const std::string& month, const std::string& name, std::string* why) const;
  // The month directory, opened; invalid with errno set.
  Descriptor open_month(const std::string& month) const;

  // "accesslog/202403/access_20240304123456.csv": a file's name relative to the volume.
  std::string relative_path(const std::string& month, const std::string& name) const;
  std::string log_path() const;
  const LogKind& log_kind() const { return kind; }
  // Whether `name` has the prefix and suffix of the log's files.
  bool is_log_file_name(const std::string& name) const;
  int log_dir_fd() const { return log_dir.get(); }
  int root_dir_fd() const { return root_dir.get(); }

 private:
  std::string root;
  LogKind kind;
  bool ordered;
  Descriptor root_dir;
  Descriptor log_dir;
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_LOG_TREE_H_
