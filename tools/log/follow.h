// Following a log: new lines as they are appended, across new files and new month directories.
#ifndef SARVIK_TOOLS_LOG_FOLLOW_H_
#define SARVIK_TOOLS_LOG_FOLLOW_H_

#include <map>
#include <string>
#include <vector>

#include "file_scanner.h"
#include "log_tree.h"
#include "problems.h"
#include "text_writer.h"
#include "tree_access.h"

namespace sarvik::log_query {

// Watches the log with inotify: its directory for new month directories, and every month
// directory for new and growing files. The watches are set before the log is first read, so
// that a line written meanwhile is read either then or after; where the first reading of a file
// ended is taken from the scan, and a file it did not read is read from its start. A line is
// handed on once it is whole (ends in CR LF). Main thread only.
class Follower {
 public:
  Follower(LogTree& tree, Problems& problems);

  // Sets up the watches and blocks SIGINT and SIGTERM for the calling thread, to be read in
  // `run`; false with a reason when inotify or signalfd cannot be used. Call before any output
  // and before starting other threads.
  bool watch(std::string* error);
  // Where the first reading of a file ended.
  void read_up_to(const std::string& month, const std::string& name, const FileProgress& progress);

  // Reads new lines with `scanner` into `sink`, writing `pending` out through `out` after each
  // round of changes, until SIGINT or SIGTERM arrives or the output cannot be written.
  void run(FileScanner& scanner, RecordSink& sink, std::string& pending, TextWriter& out);

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
  Descriptor signals;  // SIGINT and SIGTERM, blocked since `watch`
  int log_watch = -1;
  int root_watch = -1;                          // while the log's directory does not exist
  std::map<int, std::string> month_watches;     // watch descriptor to month directory
  std::map<std::string, FileProgress> reached;  // "month/name" to where reading ended
};

}  // namespace sarvik::log_query

#endif  // SARVIK_TOOLS_LOG_FOLLOW_H_
