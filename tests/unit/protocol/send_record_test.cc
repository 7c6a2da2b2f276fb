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

TEST(SendAccessLog, ReturnsTheAnswersCode) {
  TempDir dir;
  ResultData answer(7);
  OneShotServer server(dir / "sock", &answer);
  EXPECT_EQ(send_access_log((dir / "sock").c_str(), "alice", "pc1", "192.0.2.7", "open", 1, 13,
                            "docs", "r|a"),
            7);
}

// Up to `count` bytes from `fd`, fewer only at end of stream or on an error.
Bytes read_bytes(int fd, size_t count) {
  Bytes bytes(count);
  size_t got = 0;
  while (got < count) {
    ssize_t n = read(fd, bytes.data() + got, count - got);
    if (n <= 0) break;
    got += static_cast<size_t>(n);
  }
  bytes.resize(got);
  return bytes;
}

TEST(SendAccessLog, SendsTheRecordByteForByte) {
  TempDir dir;
  Connection listener(dir / "sock");
  ASSERT_GE(listener.open_listener(), 0);
  Bytes received;
  std::thread server([&] {
    const int fd = listener.accept_client();
    received = read_bytes(fd, 2);  // the length word, then what it announces
    const size_t length = received.size() == 2 ? received[0] << 8 | received[1] : 0;
    const Bytes payload = read_bytes(fd, length);
    received.insert(received.end(), payload.begin(), payload.end());
    const uint8_t answer[] = {0x00, 0x02, 0x00, 0x00};
    EXPECT_EQ(write(fd, answer, sizeof answer), 4);
    close(fd);
  });
  EXPECT_EQ(send_access_log((dir / "sock").c_str(), "alice", "pc1", "192.0.2.7", "open", 1, 258,
                            "docs", "r|a"),
            0);
  server.join();
  // Written out by hand: entry by entry, a big-endian length word before each value.
  const Bytes expected{
      0x00, 0x3C,                                                           // payload length 60
      0x00, 0x02, 0x00, 0x00,                                               // type 0: access log
      0x00, 0x06, 'a',  'l',  'i',  'c',  'e',  0x00,                       // user
      0x00, 0x04, 'p',  'c',  '1',  0x00,                                   // host
      0x00, 0x0A, '1',  '9',  '2',  '.',  '0',  '.',  '2', '.', '7', 0x00,  // address
      0x00, 0x05, 'o',  'p',  'e',  'n',  0x00,                             // operation
      0x00, 0x02, 0x00, 0x01,                                               // status 1: success
      0x00, 0x04, 0x01, 0x02, 0x00, 0x00,                                   // error 258, two zeros
      0x00, 0x05, 'd',  'o',  'c',  's',  0x00,                             // share
      0x00, 0x04, 'r',  '|',  'a',  0x00,                                   // path
  };
  EXPECT_EQ(received, expected);
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
