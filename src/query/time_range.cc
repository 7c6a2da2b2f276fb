// The --since and --until bounds: reading them, and testing a line's time against them.
#include "query/time_range.h"

#include <cstring>
#include <limits>

namespace sarvik::query {

namespace {

constexpr int64_t kSecondsPerDay = 86400;
// How far back a relative bound may reach: a hundred years is more than any log holds.
constexpr int64_t kFurthestBack = int64_t{100} * 366 * kSecondsPerDay;

// Reads `count` digits at `text` into `value`; false when one is no digit.
bool read_digits(const char* text, int count, int* value) {
  *value = 0;
  for (int i = 0; i < count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    *value = *value * 10 + (text[i] - '0');
  }
  return true;
}

// "YYYY-MM-DD", optionally followed by " hh:mm" and ":ss".
bool read_dashed_date(const std::string& text, CivilTime* time) {
  const char* p = text.c_str();
  size_t n = text.size();
  if (n != 10 && n != 16 && n != 19) return false;
  if (!read_digits(p, 4, &time->year) || p[4] != '-' || !read_digits(p + 5, 2, &time->month) ||
      p[7] != '-' || !read_digits(p + 8, 2, &time->day)) {
    return false;
  }
  time->hour = time->minute = time->second = 0;
  if (n == 10) return true;
  if (p[10] != ' ' || !read_digits(p + 11, 2, &time->hour) || p[13] != ':' ||
      !read_digits(p + 14, 2, &time->minute)) {
    return false;
  }
  return n == 16 || (p[16] == ':' && read_digits(p + 17, 2, &time->second));
}

CivilTime local_civil_time(time_t when) {
  struct tm local = {};
  localtime_r(&when, &local);
  return civil_time_of(local);
}

CivilTime midnight_of(CivilTime time) {
  time.hour = time.minute = time.second = 0;
  return time;
}

// "-N" followed by m, h or d; the number of seconds it stands for.
bool read_relative(const std::string& text, int64_t* seconds) {
  if (text.size() < 3 || text[0] != '-') return false;
  int64_t unit = 0;
  switch (text.back()) {
    case 'm':
      unit = 60;
      break;
    case 'h':
      unit = 3600;
      break;
    case 'd':
      unit = kSecondsPerDay;
      break;
    default:
      return false;
  }
  int64_t count = 0;
  for (size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    count = count * 10 + (text[i] - '0');
    if (count * unit > kFurthestBack) return false;
  }
  *seconds = count * unit;
  return true;
}

int compare_time(std::string_view line, const std::string& bound) {
  return std::memcmp(line.data(), bound.data(), kRecordTimeLength);
}

}  // namespace

bool parse_time_bound(const std::string& text, time_t now, CivilTime* bound, std::string* error) {
  CivilTime time;
  int64_t back = 0;
  if (text == "today") {
    time = midnight_of(local_civil_time(now));
  } else if (text == "yesterday") {
    time = civil_time_at(civil_seconds(midnight_of(local_civil_time(now))) - kSecondsPerDay);
  } else if (read_relative(text, &back)) {
    time = local_civil_time(now - static_cast<time_t>(back));
  } else if (text.size() == kRecordTimeLength && read_record_time(text, &time)) {
    // the logs' own form, checked as it is read
  } else if (!read_dashed_date(text, &time)) {
    *error = "'" + text +
             "' is no time: use YYYY-MM-DD, 'YYYY-MM-DD hh:mm[:ss]', 'YYYY/MM/DD hh:mm:ss', "
             "today, yesterday, or -Nm, -Nh, -Nd";
    return false;
  } else if (!is_valid_civil_time(time)) {
    *error = "'" + text + "' is no date of the calendar";
    return false;
  }
  if (record_time_text(time).empty()) {
    *error = "'" + text + "' lies outside the years 1000 to 9999";
    return false;
  }
  *bound = time;
  return true;
}

TimeRange::TimeRange(std::optional<CivilTime> since, std::optional<CivilTime> until)
    : since(since), until(until) {
  if (since) since_text = record_time_text(*since);
  if (until) until_text = record_time_text(*until);
}

bool TimeRange::contains_line(std::string_view line) const {
  if (!bounded()) return true;
  CivilTime time;
  return read_record_time(line, &time) && contains_time(line);
}

bool TimeRange::contains_time(std::string_view time_text) const {
  if (since && compare_time(time_text, since_text) < 0) return false;
  return !until || compare_time(time_text, until_text) <= 0;
}

int64_t TimeRange::first_second() const {
  return since ? civil_seconds(*since) : std::numeric_limits<int64_t>::min();
}

int64_t TimeRange::last_second() const {
  return until ? civil_seconds(*until) : std::numeric_limits<int64_t>::max();
}

}  // namespace sarvik::query
