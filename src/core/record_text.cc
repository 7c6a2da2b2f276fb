// Record text: the record time, written and read, and the joining of fields.
#include "core/record_text.h"

#include <cstring>

#include "logstore/log_names.h"
#include "support/leading_int.h"

namespace sarvik {

std::string join_fields(std::initializer_list<std::string_view> fields) {
  size_t length = 0;
  for (std::string_view field : fields) length += field.size() + std::strlen(kFieldSeparator);
  std::string line;
  line.reserve(length);
  bool first = true;
  for (std::string_view field : fields) {
    if (!first) line += kFieldSeparator;
    first = false;
    line += field;
  }
  return line;
}

std::string format_time(time_t when) {
  struct tm local = {};
  localtime_r(&when, &local);
  // The year has no fixed width; every other field has two digits at least.
  std::string text;
  text.reserve(19);
  append_decimal(&text, local.tm_year + 1900, 0);
  text += kDateSeparator;
  append_decimal(&text, local.tm_mon + 1, 2);
  text += kDateSeparator;
  append_decimal(&text, local.tm_mday, 2);
  text += ' ';
  append_decimal(&text, local.tm_hour, 2);
  text += kTimeSeparator;
  append_decimal(&text, local.tm_min, 2);
  text += kTimeSeparator;
  append_decimal(&text, local.tm_sec, 2);
  return text;
}

time_t parse_time(const char* text) { return leading_int(text); }

}  // namespace sarvik
