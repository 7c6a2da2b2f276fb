// The lines of the logs on the appliance's volume and the records that reached the collector,
// and how the ones must show in the others.
#ifndef SARVIK_TESTS_INTEGRATION_FORWARDING_FORWARDED_LINES_H_
#define SARVIK_TESTS_INTEGRATION_FORWARDING_FORWARDED_LINES_H_

#include <map>
#include <string>
#include <vector>

namespace sarvik::testing {

// One line of a log file, as the sender should name it.
struct LogLine {
  std::string kind;  // "system", "access" or "alert"
  std::string file;  // below the volume: "accesslog/202611/access_20261123101500.csv"
  long offset;       // where the line starts in the file (the first line at 0, before the mark)
  std::string text;  // without the file's byte-order mark and the CR LF, line feeds and all
};

// Every line of the three logs below `volume`, file by file in the order of their names.
std::vector<LogLine> lines_on_volume(const std::string& volume);

// The fields that the collector gives `line` besides appliance, kind, file and offset: the
// columns by position, the last one taking the rest with its commas, or the whole text as "raw"
// when it has fewer commas than its log has columns.
std::map<std::string, std::string> expected_fields(const LogLine& line);

// One JSON object of the collector's files.
struct ForwardedRecord {
  std::string appliance;
  std::string kind;
  std::string file;
  long offset = -1;
  std::map<std::string, std::string> fields;  // every other member, all texts
};

// The records of the files DIR/APPLIANCE/KIND.jsonl below `dir`, file by file, each in its
// order. A line that is no JSON object of that form is reported in `errors`.
std::vector<ForwardedRecord> read_forwarded(const std::string& dir,
                                            std::vector<std::string>* errors);

// The number of lines in the files of the collector below `dir` so far.
long forwarded_line_count(const std::string& dir);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_FORWARDING_FORWARDED_LINES_H_
