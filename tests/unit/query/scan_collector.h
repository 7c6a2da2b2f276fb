// Test helper: runs the scanner over a log tree and collects what passes.
#ifndef SARVIK_TESTS_UNIT_QUERY_SCAN_COLLECTOR_H_
#define SARVIK_TESTS_UNIT_QUERY_SCAN_COLLECTOR_H_

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "query/file_scanner.h"
#include "query/log_tree.h"

namespace sarvik::query::testing {

// One line as the scanner handed it over.
struct Collected {
  std::string file;
  uint64_t line;
  std::string text;
  bool operator==(const Collected& other) const {
    return file == other.file && line == other.line && text == other.text;
  }
};

inline void PrintTo(const Collected& line, std::ostream* out) {
  *out << line.file << ":" << line.line << ": " << ::testing::PrintToString(line.text);
}

// Keeps the messages of a query.
class CollectingProblems : public ProblemSink {
 public:
  void tell(const std::string& message, bool error) override {
    messages.push_back((error ? "error: " : "warning: ") + message);
  }
  std::vector<std::string> messages;
};

class CollectingSink : public RecordSink {
 public:
  bool take(const MatchedRecord& record) override {
    lines.push_back(Collected{*record.file, record.line, std::string(record.text)});
    return true;
  }
  std::vector<Collected> lines;
};

// The lines of the log below `root` that pass, read as the tool reads them: the files that the
// tree's pruning leaves, each scanned forward (or all backward, the newest first). `files_read`
// counts those files.
inline std::vector<Collected> scan_tree(const std::string& root, const LogKind& kind,
                                        const ScanSettings& settings, bool backward = false,
                                        size_t* files_read = nullptr) {
  LogTree tree(root, kind);
  std::string error;
  if (!tree.open(&error)) return {};
  CollectingProblems told;
  Problems problems(told);
  std::vector<LogFileEntry> files = tree.files(*settings.range, problems);
  if (backward) std::reverse(files.begin(), files.end());  // newest first, as the tool reads
  if (files_read != nullptr) *files_read = files.size();
  FileScanner scanner(settings);
  CollectingSink sink;
  for (const LogFileEntry& entry : files) {
    std::string why;
    Descriptor fd = tree.open_file(entry.month, entry.name, &why);
    std::string relative = tree.relative_path(entry.month, entry.name);
    bool failed = false;
    if (backward) {
      scanner.scan_backward(fd.get(), relative, entry, nullptr, sink);
    } else {
      scanner.scan_forward(fd.get(), relative, entry, FileProgress(), sink, &failed);
    }
  }
  return sink.lines;
}

}  // namespace sarvik::query::testing

#endif  // SARVIK_TESTS_UNIT_QUERY_SCAN_COLLECTOR_H_
