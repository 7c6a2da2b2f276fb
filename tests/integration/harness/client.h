// A test client of the service's socket that speaks raw bytes.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_CLIENT_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_CLIENT_H_

#include <chrono>
#include <string>

#include "protocol/packet.h"

namespace sarvik::testing {

using namespace std::chrono_literals;

// The four bytes of the service's only answer.
inline const std::string kOkAnswer("\x00\x02\x00\x00", 4);

// The bytes of `packet` on the stream: the length word and the payload.
std::string wire(const Packet& packet);

// True when a socket listens on the service's path in this test's network namespace. Asks the
// kernel's table rather than connecting, so that waiting makes no request of its own.
bool socket_is_listening();

// One open client connection to the service's socket, closed on destruction.
class RawClient {
 public:
  // Connects; check `connected()`. When the service's queue is full, a client that waits for
  // room blocks in the connect, and one that does not fails at once.
  explicit RawClient(bool wait_for_room = true);
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  bool connected() const { return fd >= 0; }
  void send(const std::string& bytes);
  // Tells the service that nothing more will come (shuts down the sending direction).
  void finish_sending();
  // Everything the service sends until it closes the connection; stops waiting after `timeout`
  // and then marks the result with `kStillOpen`.
  std::string receive_all(std::chrono::milliseconds timeout = 10s);
  void close_now();

  static const std::string kStillOpen;

 private:
  int fd = -1;
};

// Connects, sends `bytes`, ends the sending direction, and returns all that comes back until
// the service closes.
std::string exchange(const std::string& bytes, std::chrono::milliseconds timeout = 10s);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_CLIENT_H_
