// The server loop end to end: answers, ignored requests, messages, command line and the socket.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "harness/service_test.h"
#include "protocol/request_data.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {
namespace {

using ServerLoop = ServiceTest;

std::string access_request() {
  return wire(ReqAccessLog("alice", "pc1", "192.0.2.7", "open", 1, 0, "docs", "r|a.txt"));
}

std::string system_request() { return wire(ReqSystemLog("1700000000", "a", "b", "c")); }

TEST_F(ServerLoop, AnswersAnAccessRecordWithCodeZero) {
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(access_request()), kOkAnswer);
  EXPECT_TRUE(daemon.wait_for_stdout("access log request received.\n"));
}

TEST_F(ServerLoop, AnswersASystemRecordWithCodeZero) {
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(system_request()), kOkAnswer);
  EXPECT_TRUE(daemon.wait_for_stdout("system log request received.\n"));
}

TEST_F(ServerLoop, EmptyPayloadIsIgnoredWithoutAnswer) {
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(std::string("\0\0", 2)), "");
  EXPECT_TRUE(daemon.wait_for_stderr("No data request!! Ignore.\n"));
  EXPECT_EQ(exchange(access_request()), kOkAnswer);
}

TEST_F(ServerLoop, ClientSendingNothingTakesTheEmptyPayloadPath) {
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(""), "");
  EXPECT_EQ(exchange("\x07"), "");
  EXPECT_TRUE(daemon.wait_for_stderr("No data request!! Ignore.\n", 10s, 2));
}

TEST_F(ServerLoop, UnknownTypeIsAnsweredAndReported) {
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(std::string("\x00\x04\x00\x02\x00\x02", 6)), kOkAnswer);
  EXPECT_TRUE(daemon.wait_for_stderr("Invalid request type!! Ignore.\n"));
  // No request message; the alert thread prints its own progress.
  EXPECT_EQ(daemon.stdout_text().find("received"), std::string::npos);
}

TEST_F(ServerLoop, PayloadTooShortForATypeIsAnUnknownType) {
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(std::string("\x00\x03\x00\x02\x00", 5)), kOkAnswer);
  EXPECT_TRUE(daemon.wait_for_stderr("Invalid request type!! Ignore.\n"));
}

TEST_F(ServerLoop, FailedRequestIsReportedAndClosedWithoutAnswer) {
  DaemonProcess& daemon = start_service();
  // An entry length of 65534 makes the entry list grow without end: the request fails.
  std::string runaway("\x00\x08\x00\x02\x00\x00\xff\xfe\x00\x00", 10);
  EXPECT_EQ(exchange(runaway), "");
  EXPECT_TRUE(daemon.wait_for_stderr("Error: unknown exception\n"));
  EXPECT_EQ(exchange(access_request()), kOkAnswer);
}

TEST_F(ServerLoop, ClientLeavingBeforeTheAnswerDoesNotDisturbTheService) {
  DaemonProcess& daemon = start_service();
  for (int i = 0; i < 5; ++i) {
    RawClient client;
    client.send(access_request());
    client.close_now();
  }
  EXPECT_TRUE(daemon.wait_for_stdout("access log request received.\n", 10s, 5));
  EXPECT_EQ(exchange(access_request()), kOkAnswer);
  EXPECT_FALSE(daemon.wait_exit(0ms).has_value());
}

TEST_F(ServerLoop, QueuedClientsAreServedOneAfterTheOtherInOrder) {
  start_service();
  RawClient first;
  RawClient second;
  ASSERT_TRUE(first.connected());
  ASSERT_TRUE(second.connected());
  second.send(system_request());
  // The service is still reading from the first client, so the second waits in the queue.
  EXPECT_EQ(second.receive_all(300ms), RawClient::kStillOpen);
  first.send(access_request());
  EXPECT_EQ(first.receive_all(), kOkAnswer);
  EXPECT_EQ(second.receive_all(), kOkAnswer);
}

TEST_F(ServerLoop, StaysInTheForegroundWithoutArguments) {
  DaemonProcess& daemon = start_service();
  exchange(system_request());
  EXPECT_TRUE(daemon.wait_for_stdout("system log request received.\n"));
  EXPECT_FALSE(daemon.wait_exit(0ms).has_value());
}

TEST_F(ServerLoop, AnyOtherFirstArgumentIsIgnoredWithoutComplaint) {
  DaemonProcess& daemon = start_service({"--verbose", "-D"});
  exchange(system_request());
  EXPECT_TRUE(daemon.wait_for_stdout("system log request received.\n"));
  EXPECT_EQ(daemon.stderr_text(), "");
}

TEST_F(ServerLoop, DaemonFlagAsSecondArgumentHasNoEffect) {
  DaemonProcess& daemon = start_service({"x", "-D"});
  exchange(system_request());
  EXPECT_TRUE(daemon.wait_for_stdout("system log request received.\n"));
  EXPECT_FALSE(daemon.wait_exit(0ms).has_value());
}

TEST_F(ServerLoop, DaemonFlagsPutTheServiceInTheBackground) {
  for (const char* flag : {"-D", "--daemon"}) {
    SCOPED_TRACE(flag);
    launch_service({flag});
    EXPECT_EQ(service->wait_exit(), 0);  // the foreground process ends at once
    ASSERT_TRUE(service->wait_for_socket());
    EXPECT_EQ(exchange(system_request()), kOkAnswer);
    EXPECT_EQ(service->stdout_text(), "");  // the background service writes to the null device
    service.reset();
    unlink(paths::kSocket);
  }
}

TEST_F(ServerLoop, SocketFileHasMode0777WhateverTheUmask) {
  mode_t old_mask = umask(077);
  start_service();
  umask(old_mask);
  EXPECT_EQ(file_mode(paths::kSocket), 0777);
}

TEST_F(ServerLoop, StaleSocketFileIsReplaced) {
  write_file(paths::kSocket, "left over");
  start_service();
  EXPECT_EQ(exchange(access_request()), kOkAnswer);
}

TEST_F(ServerLoop, UnbindableSocketPathMakesTheLoopRetryUntilItHeals) {
  ASSERT_EQ(mkdir(paths::kSocket, 0755), 0);
  DaemonProcess& daemon = launch_service();
  EXPECT_TRUE(daemon.wait_for_stderr("Accept fail!!\n", 10s, 3));
  ASSERT_EQ(rmdir(paths::kSocket), 0);
  ASSERT_TRUE(daemon.wait_for_socket());
  EXPECT_EQ(exchange(access_request()), kOkAnswer);
}

}  // namespace
}  // namespace sarvik::testing
