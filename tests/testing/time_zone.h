// Runs a test in a chosen time zone.
#ifndef SARVIK_TESTING_TIME_ZONE_H_
#define SARVIK_TESTING_TIME_ZONE_H_

#include <stdlib.h>
#include <time.h>

#include <string>

namespace sarvik::testing {

// POSIX time-zone texts, so the tests need no zone database: Japan without daylight saving, and
// central Europe with it (last Sunday of March 2:00 to last Sunday of October 3:00).
inline constexpr char kTokyo[] = "JST-9";
inline constexpr char kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
inline constexpr char kUtc[] = "UTC0";

// Sets TZ for the life of the object and restores the previous value after. Test thread only,
// and only while no other thread reads the time zone.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) {
    const char* old = getenv("TZ");
    had_old = old != nullptr;
    if (had_old) old_zone = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (had_old) {
      setenv("TZ", old_zone.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

 private:
  bool had_old;
  std::string old_zone;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_TIME_ZONE_H_
