// Scanning one log file for the lines that pass the query, at the speed of the memory.
#ifndef SARVIK_QUERY_FILE_SCANNER_H_
#define SARVIK_QUERY_FILE_SCANNER_H_

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "query/chunk_reader.h"
#include "query/log_tree.h"
#include "query/matched_record.h"
#include "query/record_filter.h"
#include "query/rule_backtest.h"
#include "query/time_range.h"

namespace sarvik::query {

// What every scanner of a query shares. The pointed-to objects outlive the scanners and are not
// changed while they run.
struct ScanSettings {
  bool access_columns = true;  // access and alert lines; false: system lines
  const TimeRange* range = nullptr;
  const RecordFilter* filter = nullptr;
  const RuleBacktest* rules = nullptr;  // null: no rules asked for
  bool number_lines = false;            // the output shows each line's number
  // How many leading columns of an access line are read; the rest stay empty.
  size_t access_columns_wanted = kAccessColumnCount;
  // Whether a passing line's time is read (for JSON, the rules, and times in summaries); the
  // time range reads it where it needs to anyway.
  bool read_time = true;
  // Set from any thread to stop every scan at its next block. Null: the scans run to the end.
  const std::atomic<bool>* cancel = nullptr;
};

// A place between two records of a file: the offset of the record behind it, and the number of
// the line that begins there (0: not known yet; it is counted when lines are numbered). Where a
// forward scan ended, behind its last whole record, and where the next one begins; where a
// backward scan begins, reading the records before it.
struct FileProgress {
  uint64_t offset = 0;
  uint64_t next_line = 1;
  bool finished = false;  // no line that the file may still get can be inside the range
};

// Lines left out for a reason that the user should hear of.
struct LeftOut {
  uint64_t faulty_columns = 0;  // too few or ambiguous columns, and a field filter said no
  uint64_t without_time = 0;    // no readable time while a time range was asked for
  void add(const LeftOut& other);
};

// Receives the lines that pass. Returns false when it wants no more lines at all.
class RecordSink {
 public:
  virtual ~RecordSink() = default;
  virtual bool take(const MatchedRecord& record) = 0;
};

// Reads files and hands each line that passes the query to a sink: the time range first, then the
// columns and their filters, the whole line, and the rules. Where the query holds a plain string
// that every match contains, a block is searched for it first and only the lines around its
// occurrences are read. One scanner per thread; it keeps its buffers from file to file.
class FileScanner {
 public:
  explicit FileScanner(const ScanSettings& settings);

  // Scans `fd` (the file `file`, relative to the volume) from `from` to its end. Returns where
  // it ended; errno is set and `*failed` true when reading failed.
  FileProgress scan_forward(int fd, const std::string& file, const LogFileEntry& entry,
                            FileProgress from, RecordSink& sink, bool* failed);
  // Scans `fd` from `before` (null: its end) to its start, the newest line first. False with
  // errno set when reading failed.
  bool scan_backward(int fd, const std::string& file, const LogFileEntry& entry,
                     const FileProgress* before, RecordSink& sink);

  // Whether a sink wanted no more lines, or the scan was cancelled.
  bool stopped() const { return sink_stopped; }
  const LeftOut& left_out() const { return left; }

 private:
  enum class Verdict { kNext, kEndOfFile, kStop };

  bool scan_chunk(const Chunk& chunk);
  bool search_chunk(const Chunk& chunk, const LiteralFinder& needle);
  // Whether the scan was cancelled; then it stops as if the sink wanted no more.
  bool cancelled();
  // Tests one line and hands it on; `line` is its number when lines are numbered.
  Verdict evaluate(std::string_view text, uint64_t offset, uint64_t line);
  // A line that the field filters left out, counted when its columns are in doubt.
  Verdict left_out(const MatchedRecord& record);
  // The rest of the tests of a line whose fields passed, then the sink.
  Verdict pass_on(MatchedRecord& record, const AccessColumns* access);

  ScanSettings settings;
  ChunkReader reader;
  RuleBacktest::Scratch rule_scratch;
  std::vector<const std::string*> fired;
  LeftOut left;

  // The file being scanned.
  const std::string* file = nullptr;
  const LogFileEntry* entry = nullptr;
  RecordSink* sink = nullptr;
  uint64_t next_line = 1;  // the number of the line at the current chunk's position
  bool sink_stopped = false;
  bool file_finished = false;
  bool forward = true;  // the lines come in file order
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_FILE_SCANNER_H_
