// The offset from UTC that local time had at a wall-clock time.
#include "query/local_offset.h"

#include <time.h>

#include <cstdio>
#include <cstdlib>

namespace sarvik::query {

long LocalOffset::seconds_east(const CivilTime& time) {
  int64_t this_minute = civil_seconds(time) / 60;
  if (this_minute == minute) return offset;
  struct tm fields = broken_down_time(time);
  mktime(&fields);  // fills tm_gmtoff; a failure leaves it 0, UTC
  minute = this_minute;
  offset = fields.tm_gmtoff;
  return offset;
}

void append_iso_time(std::string* out, const CivilTime& time, long seconds_east) {
  long minutes = std::labs(seconds_east) / 60;
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d%c%02ld:%02ld", time.year,
                time.month, time.day, time.hour, time.minute, time.second,
                seconds_east < 0 ? '-' : '+', minutes / 60, minutes % 60);
  *out += text;
}

}  // namespace sarvik::query
