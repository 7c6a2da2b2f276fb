// Finding one record of a log file by its line number.
#ifndef SARVIK_QUERY_LINE_LOOKUP_H_
#define SARVIK_QUERY_LINE_LOOKUP_H_

#include <cstdint>
#include <string>

namespace sarvik::query {

// The record of the open log file `fd` that begins on line `line`, lines counted from 1 as
// grep -n counts them (a line feed inside a record begins a line of its own, as the scanner's
// numbers do). 1: found, its text without the line end in `*record` (of an overlong record, its
// first piece); 0: no whole record begins on that line; -1: reading failed, errno set.
int read_record_at_line(int fd, uint64_t line, std::string* record);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_LINE_LOOKUP_H_
