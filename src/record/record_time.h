// The time at the start of every record line, "YYYY/MM/DD hh:mm:ss", read back and reckoned with.
#ifndef SARVIK_RECORD_RECORD_TIME_H_
#define SARVIK_RECORD_RECORD_TIME_H_

#include <time.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sarvik {

// A local calendar time as a record line shows it, with no time zone attached.
struct CivilTime {
  int year = 1970;
  int month = 1;  // 1 to 12
  int day = 1;    // 1 to the month's last day
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// The length of a record time of a four-digit year, "2017/03/04 12:34:56". Such times sort as
// text in the order of the calendar, which is what lets a reader compare them byte for byte.
inline constexpr size_t kRecordTimeLength = 19;

// Whether every field of `time` lies in its calendar range; the year may be any.
bool is_valid_civil_time(const CivilTime& time);

// Reads the record time at the start of `text`: a four-digit year and two-digit fields with the
// record's separators, each field in its calendar range. False for anything else, `time`
// untouched then. What follows the time is not looked at.
bool read_record_time(std::string_view text, CivilTime* time);

// Appends the record time text of `time`: the year without a fixed width, then month, day, hour,
// minute and second with two digits each, "2017/03/04 12:34:56". Every line of a log starts so,
// and this is the one writer of that text.
void append_record_time(std::string* text, const CivilTime& time);
// The record time text of `time` when its year has four digits, the text then of the fixed
// length kRecordTimeLength that readers compare byte for byte; an empty string for other years.
std::string record_time_text(const CivilTime& time);

// Seconds from 1970-01-01 00:00:00 to `time` on the calendar alone, every day 86400 seconds
// long and no time zone involved: arithmetic on wall-clock times, not a moment.
int64_t civil_seconds(const CivilTime& time);
// The calendar time `seconds` after 1970-01-01 00:00:00 in the same reckoning.
CivilTime civil_time_at(int64_t seconds);
// The weekday of the date, 0 Sunday to 6 Saturday, as localtime counts.
int civil_weekday(const CivilTime& time);

// The fields of a broken-down time as a calendar time, and back: the weekday filled in, the
// daylight-saving flag "unknown" (-1), so that mktime decides it.
CivilTime civil_time_of(const struct tm& fields);
struct tm broken_down_time(const CivilTime& time);

}  // namespace sarvik

#endif  // SARVIK_RECORD_RECORD_TIME_H_
