// Record text: the record time, written and read.
#include "core/record_text.h"

#include <iomanip>
#include <sstream>

namespace sarvik {

std::string format_time(time_t when) {
  struct tm local;
  localtime_r(&when, &local);
  std::ostringstream text;
  text << std::setfill('0') << local.tm_year + 1900 << kDateSeparator << std::setw(2)
       << local.tm_mon + 1 << kDateSeparator << std::setw(2) << local.tm_mday << ' ' << std::setw(2)
       << local.tm_hour << kTimeSeparator << std::setw(2) << local.tm_min << kTimeSeparator
       << std::setw(2) << local.tm_sec;
  return text.str();
}

time_t parse_time(const char* text) {
  std::istringstream stream{std::string(text)};
  int seconds = 0;
  stream >> seconds;
  return seconds;
}

}  // namespace sarvik
