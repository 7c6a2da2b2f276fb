// Reading the service's logs back in end-to-end tests.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_LOG_READER_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_LOG_READER_H_

#include <string>
#include <vector>

namespace sarvik::testing {

// The CSV files of one log ("systemlog", "accesslog", "alertlog") below `volume`, as paths
// relative to the log's directory ("201703/system_20170304123456.csv"), sorted.
std::vector<std::string> log_files(const std::string& log, const std::string& volume);

// All lines of one log in file order, each without its CR LF; the byte-order mark that opens
// each file is checked and dropped. A file without the mark yields the line "<no mark>".
std::vector<std::string> log_lines(const std::string& log, const std::string& volume);

// The fields of a record line, split at every comma.
std::vector<std::string> fields_of(const std::string& line);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_LOG_READER_H_
