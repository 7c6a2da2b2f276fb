// The access event of a dry run, as given on the command line.
#include "check/event_fields.h"

#include <time.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace sarvik::check {

namespace {

// "YYYY/MM/DD hh:mm:ss", the form of the log's time column.
constexpr char kTimeFormat[] = "%Y/%m/%d %H:%M:%S";

bool is_word_char(char c) { return std::islower(static_cast<unsigned char>(c)) != 0; }

// True when `text` at `pos` starts with a word and "=": the beginning of the next field.
bool starts_field(const std::string& text, std::string::size_type pos) {
  std::string::size_type end = pos;
  while (end < text.size() && is_word_char(text[end])) ++end;
  return end > pos && end < text.size() && text[end] == '=';
}

// The fields of `text`, each "key=value", split at the commas that start a field.
std::vector<std::string> split_fields(const std::string& text) {
  std::vector<std::string> fields;
  std::string::size_type start = 0;
  for (std::string::size_type pos = 0; pos < text.size(); ++pos) {
    if (text[pos] == ',' && starts_field(text, pos + 1)) {
      fields.push_back(text.substr(start, pos - start));
      start = pos + 1;
    }
  }
  if (!text.empty()) fields.push_back(text.substr(start));
  return fields;
}

bool parse_number(const std::string& text, long long low, long long high, long long* value) {
  if (text.empty() || !(std::isdigit(static_cast<unsigned char>(text[0])) || text[0] == '-')) {
    return false;
  }
  char* end = nullptr;
  errno = 0;
  *value = std::strtoll(text.c_str(), &end, 10);
  return *end == '\0' && errno == 0 && *value >= low && *value <= high;
}

bool parse_time_field(const std::string& text, time_t* when) {
  long long seconds;
  if (parse_number(text, INT64_MIN, INT64_MAX, &seconds)) {
    *when = static_cast<time_t>(seconds);
    return true;
  }
  struct tm local = {};
  const char* end = strptime(text.c_str(), kTimeFormat, &local);
  if (end == nullptr || *end != '\0') return false;
  struct tm asked = local;
  local.tm_isdst = -1;
  *when = mktime(&local);
  // A date that does not exist (February 30th, an hour skipped by daylight saving) comes back
  // changed.
  return *when != -1 && local.tm_mday == asked.tm_mday && local.tm_hour == asked.tm_hour &&
         local.tm_min == asked.tm_min;
}

bool parse_u16(const std::string& text, uint16_t* value) {
  long long number;
  if (!parse_number(text, 0, 65535, &number)) return false;
  *value = static_cast<uint16_t>(number);
  return true;
}

}  // namespace

bool parse_event(const std::string& text, time_t now, EventFields* event, std::string* error) {
  *event = EventFields();
  event->time = now;
  for (const std::string& field : split_fields(text)) {
    std::string::size_type equals = field.find('=');
    if (equals == std::string::npos) {
      *error = "field '" + field + "' has no '='";
      return false;
    }
    std::string key = field.substr(0, equals);
    std::string value = field.substr(equals + 1);
    if (key == "time") {
      if (!parse_time_field(value, &event->time)) {
        *error = "time '" + value + "' is neither seconds nor YYYY/MM/DD hh:mm:ss";
        return false;
      }
    } else if (key == "status" || key == "errno") {
      if (!parse_u16(value, key == "status" ? &event->status : &event->error_number)) {
        *error = key + " '" + value + "' is not a number of 0 to 65535";
        return false;
      }
    } else if (key == "user") {
      event->user = value;
    } else if (key == "host") {
      event->host = value;
    } else if (key == "ip") {
      event->ipaddr = value;
    } else if (key == "op") {
      event->operation = value;
    } else if (key == "share") {
      event->share = value;
    } else if (key == "path") {
      event->path = value;
    } else {
      *error = "unknown field '" + key + "'";
      return false;
    }
  }
  return true;
}

}  // namespace sarvik::check
