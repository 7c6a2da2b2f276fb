// The fixed facts of the logs on disk: header bytes, line end, modes, line limit, day length.
#ifndef SARVIK_LOGSTORE_LOG_FORMAT_H_
#define SARVIK_LOGSTORE_LOG_FORMAT_H_

#include <sys/types.h>

namespace sarvik {

// The UTF-8 byte-order mark that opens every log file, written only into an empty file.
inline constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
// What follows every line of a log file.
inline constexpr char kLineEnd[] = "\r\n";

// Modes of the log directories and files, set explicitly whatever the file-creation mask says.
inline constexpr mode_t kDirMode = 0777;
inline constexpr mode_t kFileMode = 0666;

// A file that already holds this many lines takes no more; the next line starts a new file.
inline constexpr int kLineLimit = 65535;

// The length of a day for the age of a log file; a daylight-saving change gets no allowance.
inline constexpr long kSecondsPerDay = 86400;

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_LOG_FORMAT_H_
