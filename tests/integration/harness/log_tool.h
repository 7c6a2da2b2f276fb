// Running sarvik-log and sarvik-send in end-to-end tests, and reading what sarvik-log writes.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_LOG_TOOL_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_LOG_TOOL_H_

#include <time.h>

#include <string>
#include <vector>

#include "harness/command.h"

namespace sarvik::testing {

// Runs the built sarvik-log with `args` to its end.
CommandResult sarvik_log(const std::vector<std::string>& args);

// Sends `records` through sarvik-send --batch, one record a line with its fields separated by
// tabs ("access\tUSER\tHOST\tIP\tOP\tSTATUS\tERRNO\tSHARE\tPATH" or
// "system\tTIME\tT1\tT2\tT3"); each goes over a connection of its own, in order.
CommandResult send_records(const std::vector<std::string>& records);

// The rows of RFC 4180 text with LF line ends, each a list of fields, quotes undone.
std::vector<std::vector<std::string>> csv_rows(const std::string& text);
// The rows of tab-separated text, the escapes \\ \t \n \r undone.
std::vector<std::vector<std::string>> tsv_rows(const std::string& text);

// Makes the access log's current file full but for one line: a file of the month of `when`
// holding 65534 lines, and the state file naming it with that count, as the service leaves them.
// The next access record goes to that file as its line 65535; the one after it opens a new file.
// Returns the file's path relative to the volume.
std::string fill_current_access_file(time_t when);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_LOG_TOOL_H_
