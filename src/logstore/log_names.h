// Names of logs on disk: month directories and date stamps, each beside its parser.
#ifndef SARVIK_LOGSTORE_LOG_NAMES_H_
#define SARVIK_LOGSTORE_LOG_NAMES_H_

#include <time.h>

#include <string>

namespace sarvik {

// A month directory's name is year and month, "201703"; a log file's name is prefix, date stamp
// "20170304123456" and suffix. Digit runs of any other length carry no date.
inline constexpr size_t kMonthDigits = 6;
inline constexpr size_t kStampDigits = 14;

// The date stamp of `when` in local time, YYYYMMDDhhmmss. The year has no fixed width, so a year
// beyond 9999 makes the stamp longer.
std::string stamp_for(time_t when);

// The month directory name of `when` in local time, YYYYMM, the year without fixed width.
std::string month_dir_for(time_t when);

// The date digits inside `name`: the first run of digits, looked for behind `prefix` when `name`
// begins with it, else from the start. Empty unless the run is exactly kMonthDigits long or at
// least kStampDigits; a run of a wrong length is not skipped in favour of a later one.
std::string stamp_digits(const std::string& name, const std::string& prefix);

// The local time that date digits stand for, without any validation. Six digits mean the first
// of the month at midnight; of longer runs the first fourteen are read. Weekday and day of the
// year are 0 and the daylight-saving flag is -1 ("unknown"), so that mktime decides it.
struct tm parse_stamp(const std::string& digits);

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_LOG_NAMES_H_
