// The requests the appliance's notice scripts get, byte for byte, as tests expect them.
#ifndef SARVIK_TESTING_NOTICE_REQUESTS_H_
#define SARVIK_TESTING_NOTICE_REQUESTS_H_

#include <string>

namespace sarvik::testing {

// An event-log request with `code` and the argument elements `args`, already escaped and in key
// order (see arg).
std::string eventlog_request(const std::string& code, const std::string& args);
// One argument element; `value` as it stands.
std::string arg(const std::string& name, const std::string& value);
// The buzzer playing the melody "error".
inline constexpr char kBuzzerErrorRequest[] =
    "<request><entrylist><entry type=\"play\"><buzzer><melody type=\"error\"/></buzzer></entry>"
    "</entrylist></request>";
// The mail request of profile `profilenum`; `subject` and `body` as they stand.
std::string mail_request(int profilenum, const std::string& subject, const std::string& body);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_NOTICE_REQUESTS_H_
