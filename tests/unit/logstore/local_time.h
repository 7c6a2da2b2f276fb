// Test helper for local time: the time of a calendar date in the current zone.
#ifndef SARVIK_TESTS_UNIT_LOGSTORE_LOCAL_TIME_H_
#define SARVIK_TESTS_UNIT_LOGSTORE_LOCAL_TIME_H_

#include <time.h>

namespace sarvik::testing {

// The time of a local calendar date in the current zone; daylight saving as the zone has it.
inline time_t local_time(int year, int month, int day, int hour = 0, int minute = 0,
                         int second = 0) {
  struct tm fields = {};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  fields.tm_isdst = -1;
  return mktime(&fields);
}

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_UNIT_LOGSTORE_LOCAL_TIME_H_
