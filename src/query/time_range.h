// The --since and --until bounds: reading them, and testing a line's time against them.
#ifndef SARVIK_QUERY_TIME_RANGE_H_
#define SARVIK_QUERY_TIME_RANGE_H_

#include <time.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "record/record_time.h"

namespace sarvik::query {

// Reads one bound as local wall-clock time: "YYYY-MM-DD" (midnight), "YYYY-MM-DD hh:mm[:ss]",
// the logs' own "YYYY/MM/DD hh:mm:ss", "today" and "yesterday" (midnight), or "-30m", "-2h",
// "-7d": that many minutes, hours or days of 86400 seconds before `now`, turned into local time
// with the process's time zone. False with a reason in `error` for anything else, also for a
// year that does not have four digits.
bool parse_time_bound(const std::string& text, time_t now, CivilTime* bound, std::string* error);

// Both bounds, each inclusive and optional. Lines are compared by the fixed-width text of their
// time, which orders as the calendar does: a line's time is read as the wall clock showed it, so
// in the hour that repeats when the clocks go back both passes of that hour compare alike.
// Immutable after construction; any thread.
class TimeRange {
 public:
  TimeRange() = default;
  TimeRange(std::optional<CivilTime> since, std::optional<CivilTime> until);

  bool bounded() const { return since.has_value() || until.has_value(); }
  // Whether `line` begins with a record time inside the range. A line without a readable time
  // is inside only an unbounded range.
  bool contains_line(std::string_view line) const;
  // Whether a record time text (kRecordTimeLength bytes or more, already read as valid) lies
  // inside the range.
  bool contains_time(std::string_view time_text) const;

  // The bounds in civil seconds (see civil_seconds), open ends at the far limits.
  int64_t first_second() const;
  int64_t last_second() const;

 private:
  std::optional<CivilTime> since;
  std::optional<CivilTime> until;
  std::string since_text;
  std::string until_text;
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_TIME_RANGE_H_
