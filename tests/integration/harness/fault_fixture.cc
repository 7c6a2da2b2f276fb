// The fixture of the fault and hostile-client tests, records that can be found again, and a
// storm of hang-ups.
#include "harness/fault_fixture.h"

#include <signal.h>

#include <thread>

#include "harness/records.h"

namespace sarvik::testing {

DaemonProcess& FaultTest::start() {
  DaemonProcess& started = start_service();
  started_descriptors = started.descriptor_count();
  return started;
}

void FaultTest::TearDown() {
  if (service != nullptr && started_descriptors >= 0) {
    auto deadline = std::chrono::steady_clock::now() + 10s;
    while (service->descriptor_count() != started_descriptors &&
           std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(50ms);
    }
    EXPECT_EQ(service->descriptor_count(), started_descriptors) << "descriptors left open";
  }
  ServiceTest::TearDown();
}

HangupStorm::HangupStorm(DaemonProcess& service, std::chrono::microseconds interval)
    : sender([this, &service, interval] {
        while (storming) {
          service.send_signal(SIGHUP);
          std::this_thread::sleep_for(interval);
        }
      }) {}

HangupStorm::~HangupStorm() { stop(); }

void HangupStorm::stop() {
  storming = false;
  if (sender.joinable()) sender.join();
}

std::string marked_system_record(const std::string& mark) {
  return system_record(kMarkedTime, mark, "x", "y");
}

std::string marked_access_record(const std::string& mark) {
  return access_record(mark, "pc1", "192.0.2.7", "open", 1, 0, "docs", "r|a.txt");
}

std::vector<std::string> numbered(const std::string& prefix, int count) {
  std::vector<std::string> marks;
  for (int i = 0; i < count; ++i) marks.push_back(prefix + std::to_string(i));
  return marks;
}

std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> lists) {
  std::vector<std::string> all;
  for (const std::vector<std::string>& list : lists)
    all.insert(all.end(), list.begin(), list.end());
  return all;
}

std::vector<std::string> marks_in(const std::string& log, const std::string& prefix) {
  std::vector<std::string> marks;
  for (const std::string& line : log_lines(log, kLogVolume)) {
    std::vector<std::string> fields = fields_of(line);
    if (fields.size() > 1 && fields[1].rfind(prefix, 0) == 0) marks.push_back(fields[1]);
  }
  return marks;
}

}  // namespace sarvik::testing
