// Stand-ins for the appliance's notice scripts in end-to-end tests, with a record of their
// requests.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_NOTICE_STUBS_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_NOTICE_STUBS_H_

#include <chrono>
#include <string>
#include <vector>

namespace sarvik::testing {

using namespace std::chrono_literals;

// Installs the event-log, buzzer and mail scripts at their fixed paths as stubs. Each appends
// the request it reads on its standard input, followed by a separator, to a record file of its
// own, and answers success; the mail stub answers result "1" to the request of profile
// `failing_profile` instead. Call in the test's private volumes, before the service starts.
void install_notice_stubs(int failing_profile = -1);

// The complete requests that the stub at `script` (one of the fixed script paths) has recorded
// so far, in order; one still being written is left out.
std::vector<std::string> recorded_requests(const std::string& script);

// Waits until the stub at `script` has recorded `count` requests, for at most `timeout`, and
// returns those it has.
std::vector<std::string> wait_for_requests(const std::string& script, size_t count,
                                           std::chrono::seconds timeout = 200s);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_NOTICE_STUBS_H_
