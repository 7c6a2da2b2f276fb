// Test helpers for local time: a scoped time zone and times from calendar fields.
#ifndef SARVIK_TESTS_UNIT_LOGSTORE_LOCAL_ZONE_H_
#define SARVIK_TESTS_UNIT_LOGSTORE_LOCAL_ZONE_H_

#include <stdlib.h>
#include <time.h>

#include <string>

namespace sarvik::testing {

// POSIX zone texts, so that no zone database is needed.
inline constexpr char kUtc[] = "UTC0";
inline constexpr char kCentralEurope[] = "CET-1CEST,M3.5.0,M10.5.0/3";
inline constexpr char kJapan[] = "JST-9";

// Sets TZ for the life of the object and restores the previous value (or its absence) after.
class ScopedZone {
 public:
  explicit ScopedZone(const char* zone) {
    const char* old = getenv("TZ");
    had_zone = old != nullptr;
    if (had_zone) previous = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ScopedZone() {
    if (had_zone) {
      setenv("TZ", previous.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  ScopedZone(const ScopedZone&) = delete;
  ScopedZone& operator=(const ScopedZone&) = delete;

 private:
  bool had_zone;
  std::string previous;
};

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

#endif  // SARVIK_TESTS_UNIT_LOGSTORE_LOCAL_ZONE_H_
