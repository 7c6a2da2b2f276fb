// Record text: the record time, written and read, and the joining of fields.
#include "record/record_text.h"

#include <cstring>

#include "record/record_time.h"
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
  std::string text;
  text.reserve(kRecordTimeLength);
  append_record_time(&text, civil_time_of(local));
  return text;
}

time_t parse_time(const char* text) { return leading_int(text); }

}  // namespace sarvik
