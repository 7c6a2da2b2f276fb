// The offset from UTC that local time had at a wall-clock time, for ISO 8601 times.
#ifndef SARVIK_QUERY_LOCAL_OFFSET_H_
#define SARVIK_QUERY_LOCAL_OFFSET_H_

#include <cstdint>
#include <string>

#include "record/record_time.h"

namespace sarvik::query {

// Asks the C library (mktime, with the process's time zone) once per minute of wall-clock time
// and remembers the last answer, as lines come in runs of the same minute. In the hour that
// repeats when the clocks go back, a time reads as the C library decides. One per thread.
class LocalOffset {
 public:
  // Seconds east of UTC at `time`.
  long seconds_east(const CivilTime& time);

 private:
  int64_t minute = INT64_MIN;
  long offset = 0;
};

// `time` as ISO 8601 with the offset: "2017-03-04T12:34:56+01:00".
void append_iso_time(std::string* out, const CivilTime& time, long seconds_east);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_LOCAL_OFFSET_H_
