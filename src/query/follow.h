// Following a log: new lines as they are appended, across new files and new month directories.
#ifndef SARVIK_QUERY_FOLLOW_H_
#define SARVIK_QUERY_FOLLOW_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "query/file_scanner.h"
#include "query/log_tree.h"
#include "query/problems.h"
#include "query/text_writer.h"
#include "query/tree_access.h"

namespace sarvik::query {

// Watches the log with inotify: its directory for new month directories, and every month
// directory for new and growing files. The watches are set before the log is first read, so
// that a line written meanwhile is read either then or after; where the first reading of a file
// ended is taken from the scan, and a file it did not read is read from its start. A line is
// handed on once it is whole (ends in CR LF). One thread; the descriptor that stops `run` may be
// made readable from any.
class Follower {
 public:
  // Called after each round of new lines, and when `run` has waited `idle_ms` for one: hands on
  // what the sink gathered. False when the output cannot take more, which ends `run`.
  using Deliver = std::function<bool()>;

  Follower(LogTree& tree, Problems& problems);

  // Sets up the watches; false with a reason when inotify cannot be used. Call before the log
  // is first read.
  bool watch(std::string* error);
  // Where the first reading of a file ended.
  void read_up_to(const std::string& month, const std::string& name, const FileProgress& progress);
  // Takes every file as read up to its last whole line, so that only lines written from now on
  // are handed on.
  void start_at_end();

  // Reads new lines with `scanner` into `sink` and calls `deliver` after each round of changes,
  // until `stop_fd` becomes readable or `deliver` returns false. With `idle_ms` of 0 or more,
  // `deliver` is also called after that long without a change.
  void run(FileScanner& scanner, RecordSink& sink, const Deliver& deliver, int stop_fd,
           int idle_ms);

 private:
  void watch_log_dir();
  void watch_month(const std::string& month);
  // Reads what the file holds beyond the point reached.
  void read_new_lines(const std::string& month, const std::string& name, FileScanner& scanner,
                      RecordSink& sink);
  // Every file of every month, as after a lost event.
  std::vector<std::pair<std::string, std::string>> all_files();

  LogTree& tree;
  Problems& problems;
  Descriptor notify;
  int log_watch = -1;
  int root_watch = -1;                          // while the log's directory does not exist
  std::map<int, std::string> month_watches;     // watch descriptor to month directory
  std::map<std::string, FileProgress> reached;  // "month/name" to where reading ended
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_FOLLOW_H_
