// The three logs of the service: where each lives below the volume and how its files are named.
#ifndef SARVIK_LOGSTORE_LOG_KINDS_H_
#define SARVIK_LOGSTORE_LOG_KINDS_H_

#include <string>

#include "logstore/log_file.h"

namespace sarvik {

struct LogKind {
  const char* subdir;  // below the volume
  const char* prefix;  // of the file names, and of the state file's name
  const char* suffix;  // of the file names
};

inline constexpr LogKind kSystemLog{"systemlog", "system_", ".csv"};
inline constexpr LogKind kAccessLog{"accesslog", "access_", ".csv"};
inline constexpr LogKind kAlertLog{"alertlog", "alert_", ".csv"};

// A log of `kind` below `base_dir`, with its state file in `state_dir`.
inline LogFile make_log_file(const LogKind& kind, const std::string& base_dir,
                             const std::string& state_dir) {
  return LogFile(base_dir, kind.subdir, kind.prefix, kind.suffix, state_dir);
}

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_LOG_KINDS_H_
