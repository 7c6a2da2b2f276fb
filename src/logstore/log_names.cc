// Names of logs on disk: month directories and date stamps.
#include "logstore/log_names.h"

#include "support/decimal_text.h"

namespace sarvik {

namespace {

// The broken-down local time of `when`. Should `localtime_r` fail (a time beyond the range of
// the calendar), the fields stay zero and the name reads as of the year 1900; failure ignored on
// purpose, a line is never refused for its time.
struct tm local_fields(time_t when) {
  struct tm fields = {};
  localtime_r(&when, &fields);
  return fields;
}

// The plain decimal value of `length` characters of `digits` from `pos`.
int number_at(const std::string& digits, size_t pos, size_t length) {
  int value = 0;
  for (size_t i = pos; i < pos + length && i < digits.size(); ++i) {
    value = value * 10 + (digits[i] - '0');
  }
  return value;
}

}  // namespace

std::string stamp_for(time_t when) {
  struct tm t = local_fields(when);
  std::string text;
  text.reserve(kStampDigits);
  append_decimal(&text, t.tm_year + 1900, 0);
  for (int field : {t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec}) {
    append_decimal(&text, field, 2);
  }
  return text;
}

std::string month_dir_for(time_t when) {
  struct tm t = local_fields(when);
  std::string text;
  append_decimal(&text, t.tm_year + 1900, 0);
  append_decimal(&text, t.tm_mon + 1, 2);
  return text;
}

std::string stamp_digits(const std::string& name, const std::string& prefix) {
  size_t start = name.compare(0, prefix.size(), prefix) == 0 ? prefix.size() : 0;
  size_t first = name.find_first_of("0123456789", start);
  if (first == std::string::npos) return "";
  size_t last = name.find_first_not_of("0123456789", first);
  size_t count = (last == std::string::npos ? name.size() : last) - first;
  if (count != kMonthDigits && count < kStampDigits) return "";
  return name.substr(first, count);
}

struct tm parse_stamp(const std::string& digits) {
  struct tm t = {};
  t.tm_year = number_at(digits, 0, 4) - 1900;
  t.tm_mon = number_at(digits, 4, 2) - 1;
  if (digits.size() >= kStampDigits) {
    t.tm_mday = number_at(digits, 6, 2);
    t.tm_hour = number_at(digits, 8, 2);
    t.tm_min = number_at(digits, 10, 2);
    t.tm_sec = number_at(digits, 12, 2);
  } else {
    t.tm_mday = 1;  // a month directory's digits: the first of the month at midnight
  }
  t.tm_isdst = -1;
  return t;
}

}  // namespace sarvik
