// The client exchange: one record out, the answer's code back.
#include "protocol/send_record.h"

#include <signal.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <thread>

#include "packet_bytes.h"
#include "protocol/connection.h"
#include "protocol/request_data.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::TempDir;

// Serves one connection on `path` in a thread: keeps the request it read and answers with
// `answer`, or closes without an answer when `answer` is null.
class OneShotServer {
 public:
  OneShotServer(const std::string& path, const Packet* answer) : listener(path) {
    signal(SIGPIPE, SIG_IGN);  // as in the service: a client that left only fails the write
    listener.open_listener();
    worker = std::thread([this, answer] {
      Connection client(listener.accept_client());
      client.read_packet(request);
      if (answer != nullptr) client.write_packet(*answer);
    });
  }
  ~OneShotServer() { join(); }
  void join() {
    if (worker.joinable()) worker.join();
  }

  Connection listener;
  RequestData request;
  std::thread worker;
};

TEST(SendAccessLog, ReturnsTheAnswersCodeAndSendsTheRecord) {
  TempDir dir;
  ResultData answer(7);
  OneShotServer server(dir / "sock", &answer);
  EXPECT_EQ(send_access_log((dir / "sock").c_str(), "alice", "pc1", "192.0.2.7", "open", 1, 13,
                            "docs", "r|a"),
            7);
  server.join();
  EXPECT_EQ(payload_of(server.request),
            payload_of(ReqAccessLog("alice", "pc1", "192.0.2.7", "open", 1, 13, "docs", "r|a")));
}

TEST(SendSystemLog, ReturnsTheAnswersCode) {
  TempDir dir;
  ResultData answer(0);
  OneShotServer server(dir / "sock", &answer);
  EXPECT_EQ(send_system_log((dir / "sock").c_str(), "1700000000", "a", "b", "c"), 0);
}

TEST(SendAccessLog, NoListenerGivesMinusOne) {
  TempDir dir;
  EXPECT_EQ(send_access_log((dir / "none").c_str(), "u", "h", "i", "o", 1, 0, "s", "p"), -1);
}

TEST(SendAccessLog, ServiceClosingWithoutAnswerGivesMinusOne) {
  TempDir dir;
  OneShotServer server(dir / "sock", nullptr);
  EXPECT_EQ(send_access_log((dir / "sock").c_str(), "u", "h", "i", "o", 1, 0, "s", "p"), -1);
}

TEST(SendAccessLog, AnswerWithAnEmptyPayloadGivesMinusOne) {
  TempDir dir;
  Packet empty;
  OneShotServer server(dir / "sock", &empty);
  EXPECT_EQ(send_access_log((dir / "sock").c_str(), "u", "h", "i", "o", 1, 0, "s", "p"), -1);
}

TEST(SendAccessLog, NullSocketPathGivesMinusOne) {
  EXPECT_EQ(send_access_log(nullptr, "u", "h", "i", "o", 1, 0, "s", "p"), -1);
}

}  // namespace
}  // namespace sarvik
