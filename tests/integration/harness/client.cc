// A test client of the service's socket that speaks raw bytes.
#include "harness/client.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>

#include "support/fixed_paths.h"

namespace sarvik::testing {

const std::string RawClient::kStillOpen = "<still open>";

std::string wire(const Packet& packet) {
  std::string bytes;
  bytes.push_back(static_cast<char>(packet.size >> 8));
  bytes.push_back(static_cast<char>(packet.size & 0xff));
  bytes.append(reinterpret_cast<const char*>(packet.data), packet.size);
  return bytes;
}

RawClient::RawClient(bool wait_for_room) {
  fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | (wait_for_room ? 0 : SOCK_NONBLOCK), 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::strncpy(addr.sun_path, paths::kSocket, sizeof(addr.sun_path) - 1);
  if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0) {
    close_now();
    return;
  }
  if (!wait_for_room) fcntl(fd, F_SETFL, 0);  // blocking again for the exchange
}

RawClient::~RawClient() { close_now(); }

void RawClient::close_now() {
  if (fd >= 0) close(fd);
  fd = -1;
}

void RawClient::send(const std::string& bytes) {
  size_t sent = 0;
  while (fd >= 0 && sent < bytes.size()) {
    ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) return;
    sent += n;
  }
}

std::string RawClient::receive_all(std::chrono::milliseconds timeout) {
  std::string received;
  auto deadline = std::chrono::steady_clock::now() + timeout;
  char buffer[4096];
  while (fd >= 0) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    struct pollfd pfd = {fd, POLLIN, 0};
    if (left.count() <= 0 || poll(&pfd, 1, static_cast<int>(left.count())) == 0) {
      return received + kStillOpen;
    }
    ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n <= 0) break;
    received.append(buffer, n);
  }
  return received;
}

bool socket_is_listening() {
  // Lines read "Num RefCount Protocol Flags Type St Inode Path"; flag 00010000 marks a listener.
  std::ifstream table("/proc/net/unix");
  std::string line;
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    std::string num, refs, protocol, flags, type, state, inode, path;
    fields >> num >> refs >> protocol >> flags >> type >> state >> inode >> path;
    if (flags == "00010000" && path == paths::kSocket) return true;
  }
  return false;
}

void RawClient::finish_sending() {
  if (fd >= 0) shutdown(fd, SHUT_WR);
}

std::string exchange(const std::string& bytes, std::chrono::milliseconds timeout) {
  RawClient client;
  if (!client.connected()) return "<no connection>";
  client.send(bytes);
  client.finish_sending();
  return client.receive_all(timeout);
}

}  // namespace sarvik::testing
