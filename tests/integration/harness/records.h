// Requests as they go over the wire, and local-time texts to compare logs with.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_RECORDS_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_RECORDS_H_

#include <time.h>

#include <cstdint>
#include <string>

#include "harness/client.h"
#include "protocol/request_data.h"

namespace sarvik::testing {

inline std::string system_record(const std::string& time, const std::string& text1,
                                 const std::string& text2, const std::string& text3) {
  return wire(ReqSystemLog(time.c_str(), text1.c_str(), text2.c_str(), text3.c_str()));
}

inline std::string access_record(const std::string& user, const std::string& host,
                                 const std::string& ipaddr, const std::string& operation,
                                 uint16_t status, uint16_t error_number, const std::string& share,
                                 const std::string& path) {
  return wire(ReqAccessLog(user.c_str(), host.c_str(), ipaddr.c_str(), operation.c_str(), status,
                           error_number, share.c_str(), path.c_str()));
}

// `when` in local time by strftime `format`, as the service's own clock would show it.
inline std::string local_text(time_t when, const char* format) {
  struct tm local;
  localtime_r(&when, &local);
  char text[64];
  strftime(text, sizeof(text), format, &local);
  return text;
}

// The record time of a log line and the month directory of a log file, for `when`.
inline std::string record_time(time_t when) { return local_text(when, "%Y/%m/%d %H:%M:%S"); }
inline std::string month_dir(time_t when) { return local_text(when, "%Y%m"); }

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_RECORDS_H_
