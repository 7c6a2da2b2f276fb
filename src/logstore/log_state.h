// The state file of a log: the text that names its current file and counts its lines.
#ifndef SARVIK_LOGSTORE_LOG_STATE_H_
#define SARVIK_LOGSTORE_LOG_STATE_H_

#include <cstdint>
#include <string>

namespace sarvik {

// Reads `text` as a standard stream reads the state file with getline and `>>`: the first line,
// without its LF, goes to `file_name` (all of `text` when there is no LF). Behind it, blanks are
// skipped and a signed decimal number is read into `line_count`; a number beyond the range of
// int32_t gives the nearest limit and a text with no number there gives 0. `line_count` stays as
// it is when there is no LF or nothing but blanks follows it. Pure function.
void parse_state(const std::string& text, std::string* file_name, int32_t* line_count);

// Replaces the state file at `path` (created with mode 0666 before the umask) by `file_name` and
// `line_count`, one line each, in two writes as a stream flushed after each line makes them.
// Failures are not reported; the file is then left as the failed call left it. A link at `path`
// is not followed: it makes the state one that cannot be written.
void write_state(const std::string& path, const std::string& file_name, int32_t line_count);

// The whole text of the state file at `path`, read as a stream would, through one open; false
// when it cannot be opened, a link at `path` among the cases.
bool read_state_file(const std::string& path, std::string* text);

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_LOG_STATE_H_
