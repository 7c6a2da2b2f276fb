// Counting the lines of a log file that the sealer did not see written.
#ifndef SARVIK_SEAL_LINE_ENDS_H_
#define SARVIK_SEAL_LINE_ENDS_H_

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace sarvik {

// Reading more than this to number a line is not worth the delay of the request: the line's
// number is then not known. A log file of 65535 lines of the usual length is about 6 MiB.
inline constexpr uint64_t kMostBytesCounted = uint64_t{64} * 1024 * 1024;

// The line ends (CR LF, the end of a line as the logs' readers take it) whose line feed lies in
// the bytes [from, to) of the log file `name` in the month directory `month` below `log_root`.
// The directories and the file are opened without following a link, and the file must still be
// the one written (`device`, `inode`). False when the count cannot be told: the file is gone or
// is another, cannot be read, is shorter than `to`, or the span is longer than
// kMostBytesCounted. Main thread of the service; reads only.
bool count_line_ends(const std::string& log_root, const std::string& month, const std::string& name,
                     dev_t device, ino_t inode, uint64_t from, uint64_t to, uint64_t* count);

}  // namespace sarvik

#endif  // SARVIK_SEAL_LINE_ENDS_H_
