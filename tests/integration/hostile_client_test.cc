// Hostile clients end to end: garbage, truncated and oversized packets, clients that leave early,
// more clients than the queue holds, and a storm of hang-ups under load. Each time the service
// keeps serving, loses no record it is not meant to lose, and keeps no descriptor open.
#include <signal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <thread>

#include "harness/fault_fixture.h"
#include "harness/records.h"

namespace sarvik::testing {
namespace {

using HostileClient = FaultTest;

TEST_F(HostileClient, GarbageAndTruncatedPacketsLeaveTheServiceServing) {
  DaemonProcess& daemon = start();
  std::vector<std::string> hostile;
  std::mt19937 random(20240501);
  for (int i = 0; i < 40; ++i) {
    std::string bytes(1 + random() % 300, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    hostile.push_back(bytes);
  }
  std::string whole = access_record("alice", "pc1", "192.0.2.7", "open", 0, 13, "docs", "r|a");
  for (size_t cut = 0; cut < whole.size(); cut += 5) hostile.push_back(whole.substr(0, cut));
  hostile.push_back(std::string("\x00\x64", 2) + "only ten b");  // 100 bytes announced

  for (size_t i = 0; i < hostile.size(); ++i) {
    // Garbage is answered (an unknown type or a record of odd fields) or closed without an
    // answer (no payload, an entry list that cannot end); it never holds the service.
    std::string answer = exchange(hostile[i]);
    EXPECT_TRUE(answer == kOkAnswer || answer.empty()) << "case " << i << ": " << answer;
    EXPECT_EQ(exchange(marked_system_record("after-" + std::to_string(i))), kOkAnswer);
  }
  EXPECT_EQ(marks_in("systemlog", "after-"), numbered("after-", hostile.size()));
  EXPECT_FALSE(daemon.wait_exit(0ms).has_value());
}

TEST_F(HostileClient, LengthWordsOf65534And65535AreCutToAFullPayload) {
  start();
  for (unsigned length : {65534u, 65535u}) {
    // A system record of exactly 4096 bytes behind a length word that announces more, and more
    // bytes behind it: the record is taken, the rest is lost with the connection.
    std::string mark = "long-" + std::to_string(length);
    std::string text(4096 - 27 - mark.size(), 'f');
    std::string payload = system_record(kMarkedTime, mark, text, "z").substr(2);
    ASSERT_EQ(payload.size(), 4096u);
    std::string word{static_cast<char>(length >> 8), static_cast<char>(length & 0xff)};
    EXPECT_EQ(exchange(word + payload + std::string(300, 'g')), kOkAnswer) << length;
  }
  EXPECT_EQ(marks_in("systemlog", "long-"), (std::vector<std::string>{"long-65534", "long-65535"}));
  EXPECT_EQ(exchange(marked_system_record("next")), kOkAnswer);
}

TEST_F(HostileClient, EntryLengthsOf65534And65535NeitherCrashNorHoldTheService) {
  DaemonProcess& daemon = start();
  // 65534: the entry advances by 0 and the list grows until the request fails, without an
  // answer. 65535: the entry advances by 1, into its own bytes, and the record is taken.
  std::string runaway("\x00\x0c\x00\x02\x00\x01\x00\x03\x31\x37\x00\xff\xfe\x00", 14);
  std::string into_itself("\x00\x0c\x00\x02\x00\x00\xff\xff\x41\x42\x00\x00\x02\x00", 14);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(exchange(runaway), "");
    EXPECT_EQ(exchange(into_itself), kOkAnswer);
    EXPECT_EQ(exchange(marked_system_record("next-" + std::to_string(round))), kOkAnswer);
  }
  EXPECT_TRUE(daemon.wait_for_stderr("Error: unknown exception\n", 10s, 3));
  EXPECT_EQ(marks_in("systemlog", "next-"), numbered("next-", 3));
}

TEST_F(HostileClient, ClientsThatLeaveMidPacketOrBeforeTheAnswerDisturbNothing) {
  DaemonProcess& daemon = start();
  for (int i = 0; i < 30; ++i) {
    std::string record = marked_system_record("left-" + std::to_string(i));
    {
      RawClient client;  // half a length word, then gone
      client.send(record.substr(0, 1));
    }
    {
      RawClient client;  // the payload cut inside the time text, then gone
      client.send(record.substr(0, 9));
    }
    {
      RawClient client;  // the whole record, gone before the answer
      client.send(record);
    }
  }
  // The queue is served in order: once this is answered, all before it are done.
  EXPECT_EQ(exchange(marked_system_record("last")), kOkAnswer);
  std::vector<std::string> expected = numbered("left-", 30);
  EXPECT_EQ(marks_in("systemlog", "left-"), expected);
  EXPECT_TRUE(daemon.wait_for_stderr("No data request!! Ignore.\n", 10s, 30));
}

TEST_F(HostileClient, ClientsBeyondTheQueueAreRefusedAndAllOthersServed) {
  DaemonProcess& daemon = start();
  RawClient blocker;  // holds the service in its read, so that the others queue behind it
  ASSERT_TRUE(blocker.connected());
  std::vector<std::unique_ptr<RawClient>> queued;
  std::vector<std::string> expected{"blocker"};
  int refused = 0;
  for (int i = 0; i < 500; ++i) {
    auto client = std::make_unique<RawClient>(/*wait_for_room=*/false);
    if (!client->connected()) {
      ++refused;
      continue;
    }
    std::string mark = "queued-" + std::to_string(i);
    client->send(marked_system_record(mark));
    client->finish_sending();
    expected.push_back(mark);
    queued.push_back(std::move(client));
  }
  RecordProperty("connected", static_cast<int>(queued.size()));
  RecordProperty("refused", refused);
  // The backlog holds 128; the kernel may take one more.
  EXPECT_GE(queued.size(), 128u);
  EXPECT_LT(queued.size(), 500u);
  blocker.send(marked_system_record("blocker"));
  blocker.finish_sending();
  EXPECT_EQ(blocker.receive_all(), kOkAnswer);
  for (auto& client : queued) EXPECT_EQ(client->receive_all(30s), kOkAnswer);
  EXPECT_EQ(exchange(marked_system_record("after")), kOkAnswer);
  expected.push_back("after");
  EXPECT_EQ(marks_in("systemlog", ""), expected);
  EXPECT_FALSE(daemon.wait_exit(0ms).has_value());
}

TEST_F(HostileClient, FiveHundredWaitingClientsAtOnceAreAllServed) {
  start();
  std::vector<std::string> answers(500);
  std::vector<std::thread> clients;
  for (int i = 0; i < 500; ++i) {
    clients.emplace_back([i, &answers] {
      answers[i] = exchange(marked_system_record("client-" + std::to_string(i)), 60s);
    });
  }
  for (std::thread& client : clients) client.join();
  for (int i = 0; i < 500; ++i) EXPECT_EQ(answers[i], kOkAnswer) << "client " << i;
  // Served one at a time in the order of the queue, which the threads' race decides: each
  // record once.
  std::vector<std::string> marks = marks_in("systemlog", "client-");
  std::sort(marks.begin(), marks.end());
  std::vector<std::string> expected = numbered("client-", 500);
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(marks, expected);
}

TEST_F(HostileClient, HangupStormUnderLoadLosesNoRecord) {
  DaemonProcess& daemon = start();
  HangupStorm storm(daemon, 100us);
  for (int i = 0; i < 1000; ++i) {
    std::string mark = "storm-" + std::to_string(i);
    EXPECT_EQ(exchange(marked_system_record(mark)), kOkAnswer) << mark;
    EXPECT_EQ(exchange(marked_access_record(mark)), kOkAnswer) << mark;
  }
  storm.stop();
  int reloads = count_of(daemon.stdout_text(), "Reload config");
  RecordProperty("reloads", reloads);
  EXPECT_GT(reloads, 100);
  EXPECT_EQ(marks_in("systemlog", "storm-"), numbered("storm-", 1000));
  EXPECT_EQ(marks_in("accesslog", "storm-"), numbered("storm-", 1000));
  EXPECT_EQ(exchange(marked_system_record("calm")), kOkAnswer);
}

}  // namespace
}  // namespace sarvik::testing
