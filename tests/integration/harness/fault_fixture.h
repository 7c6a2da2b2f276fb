// The fixture of the fault and hostile-client tests, records that can be found again, and a
// storm of hang-ups.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_FAULT_FIXTURE_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_FAULT_FIXTURE_H_

#include <atomic>
#include <chrono>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include "harness/service_test.h"

namespace sarvik::testing {

// A ServiceTest that notes the descriptors of the service once it has started and, after the
// test, expects it to hold as many again (allowing a few seconds for the alert thread to finish
// with a script).
class FaultTest : public ServiceTest {
 protected:
  void TearDown() override;
  DaemonProcess& start();

  int started_descriptors = -1;
};

// Sends SIGHUP to the service every `interval` from a thread of its own, until stop() or the
// end of the object. The test thread owns it; the service must outlive it.
class HangupStorm {
 public:
  HangupStorm(DaemonProcess& service, std::chrono::microseconds interval);
  ~HangupStorm();
  HangupStorm(const HangupStorm&) = delete;
  HangupStorm& operator=(const HangupStorm&) = delete;

  void stop();

 private:
  std::atomic<bool> storming{true};
  std::thread sender;
};

// The time of every marked system record.
inline constexpr char kMarkedTime[] = "1700000000";

// A system record whose first free text is `mark`, and an access record (operation open_read on
// share "docs") whose user is `mark`, which must be in lower case. Either way `mark` is the
// second column of the line.
std::string marked_system_record(const std::string& mark);
std::string marked_access_record(const std::string& mark);

// "<prefix>0" to "<prefix><count - 1>".
std::vector<std::string> numbered(const std::string& prefix, int count);
// The lists one after the other.
std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> lists);

// The second columns of the lines of `log` (in file order) that begin with `prefix`.
std::vector<std::string> marks_in(const std::string& log, const std::string& prefix);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_FAULT_FIXTURE_H_
