// The appliance's three notice scripts as recording stubs, and its notice settings, for tests
// that raise alerts through the real notice code.
#ifndef SARVIK_TESTS_UNIT_ALERT_NOTICE_STUBS_H_
#define SARVIK_TESTS_UNIT_ALERT_NOTICE_STUBS_H_

#include <string>

#include "testing/notice_settings.h"
#include "testing/stub_script.h"

namespace sarvik::testing {

// Stubs at the fixed script paths, each recording into a folder of its own below
// /mnt/data/record, all answering success until told otherwise. Make it inside fresh volumes.
struct NoticeStubs {
  NoticeStubs();

  StubScript eventlog;
  StubScript buzzer;
  StubScript mail;
};

// The requests the stubs should get, byte for byte. `args` are the argument elements, already
// escaped and in key order.
std::string eventlog_request(const std::string& code, const std::string& args);
std::string arg(const std::string& name, const std::string& value);
inline constexpr char kBuzzerErrorRequest[] =
    "<request><entrylist><entry type=\"play\"><buzzer><melody type=\"error\"/></buzzer></entry>"
    "</entrylist></request>";
std::string mail_request(int profilenum, const std::string& subject, const std::string& body);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_UNIT_ALERT_NOTICE_STUBS_H_
