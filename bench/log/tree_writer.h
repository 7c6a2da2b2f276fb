// Writes one log as the service lays it out on disk, in large writes instead of line by line.
#ifndef SARVIK_BENCH_LOG_TREE_WRITER_H_
#define SARVIK_BENCH_LOG_TREE_WRITER_H_

#include <time.h>

#include <cstdint>
#include <string>

#include "logstore/log_kinds.h"

namespace sarvik::corpus {

// Places lines in the files the service would choose for them, starting from no state file:
// month directories, file names stamped with the local time of their first line, a new file at
// a change of month and after kLineLimit lines, the byte-order mark in a new file, CR LF after
// each line, the same modes. It knows nothing of columns. Unlike the service it keeps the
// current file open and buffered, and writes no state file, so a corpus takes seconds rather
// than hours; the tests hold it to the service's own writer byte for byte.
//
// Throws std::runtime_error when a directory or file cannot be made or written. Not copyable;
// one thread.
class TreeWriter {
 public:
  TreeWriter(const std::string& base_dir, const LogKind& kind);
  ~TreeWriter();  // closes; what is still buffered is written, its failure ignored
  TreeWriter(const TreeWriter&) = delete;
  TreeWriter& operator=(const TreeWriter&) = delete;

  void write_line(time_t when, const std::string& line);
  // Writes what is buffered and closes the current file.
  void finish();

  uint64_t lines() const { return total_lines; }
  uint64_t bytes() const { return total_bytes; }
  uint64_t files() const { return total_files; }

 private:
  void roll(time_t when);
  void flush();
  void ensure_dir(const std::string& path);

  std::string log_root;
  std::string prefix;
  std::string suffix;
  std::string file_name;  // of the current file; empty before the first line
  std::string file_path;  // of the current file, for messages
  int line_count = 0;     // lines in the current file
  int year = 0;           // of the current file's stamp, as struct tm counts them
  int month = 0;
  int fd = -1;
  std::string buffer;  // bytes of the current file not yet written
  uint64_t total_lines = 0;
  uint64_t total_bytes = 0;
  uint64_t total_files = 0;
};

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_TREE_WRITER_H_
