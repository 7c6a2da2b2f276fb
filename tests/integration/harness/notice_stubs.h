// The appliance's notice scripts as recording stubs at their fixed paths, for end-to-end tests.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_NOTICE_STUBS_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_NOTICE_STUBS_H_

#include <chrono>
#include <string>
#include <vector>

#include "testing/notice_stubs.h"

namespace sarvik::testing {

using namespace std::chrono_literals;

// Installs the event-log, buzzer and mail scripts at their fixed paths as the stubs of
// testing/notice_stubs.h, recording below /mnt/data/record and answering success; the mail stub
// answers result "1" to the request of profile `failing_profile` instead. Call in the test's
// private volumes, before the service starts; the stubs stay for the rest of the test. Main
// thread only.
NoticeStubs& install_notice_stubs(int failing_profile = -1);

// The complete requests that the stub at `script` (one of the fixed script paths) has recorded
// so far, in order; none when no stubs are installed.
std::vector<std::string> recorded_requests(const std::string& script);

// Waits until the stub at `script` has recorded `count` requests, for at most `timeout`, and
// returns those it has.
std::vector<std::string> wait_for_requests(const std::string& script, size_t count,
                                           std::chrono::seconds timeout = 200s);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_NOTICE_STUBS_H_
