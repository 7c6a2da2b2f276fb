// The client limit of the optional "hardening" element, with the element and without it, and the
// pause after failed accepts.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "harness/fault_fixture.h"
#include "harness/records.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/text_count.h"

namespace sarvik::testing {
namespace {

using Clock = std::chrono::steady_clock;

// Seconds of processor time (user and system) that process `pid` has used, from /proc.
double cpu_seconds(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  // The fields behind the command name, which ends at the last ')': state is field 3, utime 14.
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  long ticks = 0;
  for (int number = 3; number <= 15 && fields >> field; ++number) {
    if (number >= 14) ticks += std::stol(field);
  }
  return static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

class Hardening : public FaultTest {
 protected:
  static void with_client_limit(int seconds) {
    Settings settings;
    settings.hardening =
        "<hardening><clienttimeout>" + std::to_string(seconds) + "</clienttimeout></hardening>";
    write_settings(settings);
  }
};

TEST_F(Hardening, WithoutTheElementAClientThatSendsNothingHoldsTheService) {
  start();
  RawClient idle;
  ASSERT_TRUE(idle.connected());
  // For a while nobody else is served: the next client waits in the queue.
  RawClient waiting;
  ASSERT_TRUE(waiting.connected());
  waiting.send(marked_access_record("waiting"));
  waiting.finish_sending();
  EXPECT_EQ(waiting.receive_all(3s), RawClient::kStillOpen);
  EXPECT_EQ(idle.receive_all(100ms), RawClient::kStillOpen);
  // Once the idle client goes, its empty request is dropped and the next one is served.
  idle.close_now();
  EXPECT_TRUE(service->wait_for_stderr("No data request!! Ignore.\n"));
  EXPECT_EQ(waiting.receive_all(), kOkAnswer);
  EXPECT_EQ(marks_in("accesslog", "waiting"), std::vector<std::string>{"waiting"});
}

TEST_F(Hardening, AClientThatSendsNothingInTimeIsClosedAsOneThatSentNothing) {
  with_client_limit(1);
  start();
  RawClient idle;
  ASSERT_TRUE(idle.connected());
  RawClient waiting;
  ASSERT_TRUE(waiting.connected());
  waiting.send(marked_access_record("waiting"));
  waiting.finish_sending();
  // The idle client gets end of stream and no answer, the service says why, and the next
  // client is served.
  EXPECT_EQ(idle.receive_all(10s), "");
  EXPECT_TRUE(service->wait_for_stderr("No data request!! Ignore.\n"));
  EXPECT_EQ(waiting.receive_all(10s), kOkAnswer);
  EXPECT_EQ(marks_in("accesslog", "waiting"), std::vector<std::string>{"waiting"});
}

TEST_F(Hardening, AClientThatStopsAfterTheLengthWordIsClosedToo) {
  with_client_limit(1);
  start();
  RawClient partial;
  ASSERT_TRUE(partial.connected());
  partial.send(marked_access_record("partial").substr(0, 2));
  EXPECT_EQ(partial.receive_all(10s), "");
  EXPECT_TRUE(service->wait_for_stderr("No data request!! Ignore.\n"));
  EXPECT_EQ(exchange(marked_access_record("next")), kOkAnswer);
  EXPECT_TRUE(marks_in("accesslog", "partial").empty());
  EXPECT_EQ(marks_in("accesslog", "next"), std::vector<std::string>{"next"});
}

TEST_F(Hardening, AClientWithinTheLimitIsServedAsBefore) {
  with_client_limit(5);
  start();
  RawClient slow;
  ASSERT_TRUE(slow.connected());
  const std::string record = marked_access_record("slow");
  slow.send(record.substr(0, 2));
  std::this_thread::sleep_for(300ms);
  slow.send(record.substr(2));
  slow.finish_sending();
  EXPECT_EQ(slow.receive_all(), kOkAnswer);
  EXPECT_EQ(marks_in("accesslog", "slow"), std::vector<std::string>{"slow"});
}

TEST_F(Hardening, ADirectoryAtTheSocketPathCostsLittleAndClientsComeSoonAfter) {
  ASSERT_EQ(mkdir(paths::kSocket, 0755), 0);
  DaemonProcess& daemon = launch_service();
  ASSERT_TRUE(daemon.wait_for_stderr("Accept fail!!\n"));
  const double cpu_before = cpu_seconds(daemon.pid());
  const auto start_time = Clock::now();
  std::this_thread::sleep_for(3s);
  const double used = cpu_seconds(daemon.pid()) - cpu_before;
  const double elapsed = std::chrono::duration<double>(Clock::now() - start_time).count();
  EXPECT_LT(used, 0.1 * elapsed) << used << " s of processor time in " << elapsed << " s";
  // Every failure is still reported, but a few a second at most once the pause has grown.
  const int failures = count_of(daemon.stderr_text(), "Accept fail!!\n");
  EXPECT_LT(failures, 20);
  // Once the path is free, a client is served within a second.
  ASSERT_EQ(rmdir(paths::kSocket), 0);
  const auto freed = Clock::now();
  while (!socket_is_listening() && Clock::now() - freed < 5s) std::this_thread::sleep_for(5ms);
  EXPECT_LT(Clock::now() - freed, 1s);
  EXPECT_EQ(exchange(marked_access_record("served")), kOkAnswer);
  EXPECT_EQ(marks_in("accesslog", "served"), std::vector<std::string>{"served"});
}

}  // namespace
}  // namespace sarvik::testing
