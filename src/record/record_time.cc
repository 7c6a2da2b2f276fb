// The time at the start of every record line, read back and reckoned with.
#include "record/record_time.h"

#include "record/record_words.h"
#include "support/decimal_text.h"

namespace sarvik {

namespace {

constexpr int64_t kSecondsPerDay = 86400;

// The value of the `count` digits at `text`, or -1 when one of them is no digit.
int digits_value(const char* text, int count) {
  int value = 0;
  for (int i = 0; i < count; ++i) {
    unsigned digit = static_cast<unsigned char>(text[i]) - '0';
    if (digit > 9) return -1;
    value = value * 10 + static_cast<int>(digit);
  }
  return value;
}

bool is_leap_year(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int days_in_month(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && is_leap_year(year) ? 29 : kDays[month - 1];
}

// Days from 1970-01-01 to the date, in the proleptic Gregorian calendar (H. Hinnant's method).
int64_t days_from_civil(int64_t year, int month, int day) {
  year -= month <= 2;
  int64_t era = (year >= 0 ? year : year - 399) / 400;
  int64_t year_of_era = year - era * 400;
  int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

}  // namespace

bool is_valid_civil_time(const CivilTime& time) {
  return time.month >= 1 && time.month <= 12 && time.day >= 1 &&
         time.day <= days_in_month(time.year, time.month) && time.hour >= 0 && time.hour <= 23 &&
         time.minute >= 0 && time.minute <= 59 && time.second >= 0 && time.second <= 59;
}

bool read_record_time(std::string_view text, CivilTime* time) {
  if (text.size() < kRecordTimeLength) return false;
  const char* p = text.data();
  if (p[4] != kDateSeparator[0] || p[7] != kDateSeparator[0] || p[10] != ' ' ||
      p[13] != kTimeSeparator[0] || p[16] != kTimeSeparator[0]) {
    return false;
  }
  CivilTime read;
  read.year = digits_value(p, 4);
  read.month = digits_value(p + 5, 2);
  read.day = digits_value(p + 8, 2);
  read.hour = digits_value(p + 11, 2);
  read.minute = digits_value(p + 14, 2);
  read.second = digits_value(p + 17, 2);
  if (read.year < 0 || !is_valid_civil_time(read)) return false;
  *time = read;
  return true;
}

void append_record_time(std::string* text, const CivilTime& time) {
  append_decimal(text, time.year, 0);
  *text += kDateSeparator;
  append_decimal(text, time.month, 2);
  *text += kDateSeparator;
  append_decimal(text, time.day, 2);
  *text += ' ';
  append_decimal(text, time.hour, 2);
  *text += kTimeSeparator;
  append_decimal(text, time.minute, 2);
  *text += kTimeSeparator;
  append_decimal(text, time.second, 2);
}

std::string record_time_text(const CivilTime& time) {
  if (time.year < 1000 || time.year > 9999) return "";
  std::string text;
  text.reserve(kRecordTimeLength);
  append_record_time(&text, time);
  return text;
}

int64_t civil_seconds(const CivilTime& time) {
  return days_from_civil(time.year, time.month, time.day) * kSecondsPerDay +
         int64_t{time.hour} * 3600 + int64_t{time.minute} * 60 + time.second;
}

CivilTime civil_time_at(int64_t seconds) {
  int64_t days = seconds / kSecondsPerDay;
  int64_t rest = seconds % kSecondsPerDay;
  if (rest < 0) {
    rest += kSecondsPerDay;
    --days;
  }
  // The inverse of days_from_civil.
  days += 719468;
  int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  int64_t day_of_era = days - era * 146097;
  int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  int64_t month_index = (5 * day_of_year + 2) / 153;
  CivilTime time;
  time.day = static_cast<int>(day_of_year - (153 * month_index + 2) / 5 + 1);
  time.month = static_cast<int>(month_index < 10 ? month_index + 3 : month_index - 9);
  time.year = static_cast<int>(year_of_era + era * 400 + (time.month <= 2));
  time.hour = static_cast<int>(rest / 3600);
  time.minute = static_cast<int>(rest / 60 % 60);
  time.second = static_cast<int>(rest % 60);
  return time;
}

int civil_weekday(const CivilTime& time) {
  int64_t days = days_from_civil(time.year, time.month, time.day);
  // 1970-01-01 was a Thursday.
  int64_t weekday = (days + 4) % 7;
  return static_cast<int>(weekday < 0 ? weekday + 7 : weekday);
}

CivilTime civil_time_of(const struct tm& fields) {
  CivilTime time;
  time.year = fields.tm_year + 1900;
  time.month = fields.tm_mon + 1;
  time.day = fields.tm_mday;
  time.hour = fields.tm_hour;
  time.minute = fields.tm_min;
  time.second = fields.tm_sec;
  return time;
}

struct tm broken_down_time(const CivilTime& time) {
  struct tm fields = {};
  fields.tm_year = time.year - 1900;
  fields.tm_mon = time.month - 1;
  fields.tm_mday = time.day;
  fields.tm_hour = time.hour;
  fields.tm_min = time.minute;
  fields.tm_sec = time.second;
  fields.tm_wday = civil_weekday(time);
  fields.tm_isdst = -1;
  return fields;
}

}  // namespace sarvik
