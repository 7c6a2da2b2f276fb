// A query put to one log: the files that can hold it, scanned side by side, into a front end's
// sinks.
#ifndef SARVIK_QUERY_SEARCH_H_
#define SARVIK_QUERY_SEARCH_H_

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "query/file_scanner.h"
#include "query/follow.h"
#include "query/log_tree.h"
#include "query/problems.h"
#include "query/query_plan.h"
#include "query/record_format.h"
#include "query/summary.h"
#include "query/text_writer.h"

namespace sarvik::query {

// A place in the log between two records of one file: where a page of lines ends and the next
// begins. In file order the next line to read begins at `at.offset`; newest first, the lines
// before it are still to read. `at.next_line` is the number of the line that begins there.
struct LogPosition {
  std::string month;  // "202403"
  std::string name;   // "access_20240304123456.csv"
  FileProgress at;
};

// The engine of the front ends: finds the matching lines of a plan and writes them, counts them
// or follows the log, never to a stream it was not given. The files are read by up to four
// threads side by side; what they find comes out in the order of the files. The plan and the
// problems must outlive the search. One thread drives it; cancel may be called from any.
class Search {
 public:
  Search(const QueryPlan& plan, Problems& problems);

  // Opens the volume, and with `follow` sets the log's watches before anything is read. False
  // with a reason when the volume cannot be opened or the log cannot be followed.
  bool open(bool follow, std::string* error);

  // Stops the scans at their next block, from any thread. What was found so far stays found.
  void cancel() { cancelled_flag = true; }
  bool cancelled() const { return cancelled_flag.load(); }

  // Writes the matching lines to `out` in the plan's output form: the form's header, then the
  // lines in file order, or newest first when the plan says reverse, at most the plan's limit.
  // With `from`, the lines begin behind (newest first: before) that place, and the files before
  // it are left out. When the limit cut the lines, `*next` (when given) is the place behind the
  // last line written; otherwise it is left empty. An empty table is not written at all, header
  // included. Returns the number of lines written.
  uint64_t write_lines(TextWriter& out, const LogPosition* from = nullptr,
                       std::optional<LogPosition>* next = nullptr);

  // Counts the matching lines into `summary`, made for the plan's summary request.
  void summarize(Summary* summary);

  // After open(follow): from now on only lines written later are followed, not those the log
  // holds already. Without it, following goes on behind what write_lines read.
  void skip_written_lines();
  // After open(follow): hands each new matching line to `sink` and calls `deliver` after each
  // round of them, until `stop_fd` becomes readable or `deliver` returns false (see Follower).
  // Returns at once when the lines before could not be written.
  void follow(RecordSink& sink, const Follower::Deliver& deliver, int stop_fd, int idle_ms);

  LogTree& log_tree() { return tree; }

 private:
  ScanSettings scan_settings() const;
  // Scans one file forward or backward, from `from` when given; reports a failure. Returns
  // where a forward scan ended.
  FileProgress scan_file(const LogFileEntry& entry, bool backward, const FileProgress* from,
                         FileScanner& scanner, RecordSink& sink);
  // Tells what the scanners left out for a reason the user should hear of.
  void tell_left_out(const std::vector<FileScanner>& scanners);

  const QueryPlan& plan;
  Problems& problems;
  LogTree tree;
  std::optional<Follower> follower;
  std::atomic<bool> cancelled_flag{false};
  bool output_failed = false;  // writing the lines failed: following is pointless
};

// The output settings of the plan's lines.
FormatSettings format_settings(const QueryPlan& plan);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_SEARCH_H_
