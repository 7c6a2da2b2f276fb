// One Unix-domain stream socket that moves packets: listener, client or accepted connection.
#include "protocol/connection.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "protocol/wire.h"

namespace sarvik {

namespace {

// The longest socket path kept; sun_path keeps room for its NUL.
constexpr size_t kMaxPathLength = sizeof(sockaddr_un::sun_path) - 1;
// Pending connections the kernel queues for the service; its only buffering of clients.
constexpr int kBacklog = 128;
// The socket file may be used by every local user.
constexpr mode_t kSocketMode = 0777;

}  // namespace

Connection::Connection(const std::string& path) : fd(-1), addr(), mode(MODE_NONE) {
  addr.sun_family = AF_UNIX;
  std::strncpy(addr.sun_path, path.c_str(), kMaxPathLength);
}

Connection::Connection(int accepted_fd) : fd(accepted_fd), addr(), mode(MODE_ACCEPTED) {}

Connection::~Connection() {
  if (fd != -1) close(fd);
}

void Connection::close_socket() {
  if (fd == -1) return;
  close(fd);
  mode = MODE_NONE;
  fd = -1;
}

int Connection::open_listener() {
  close_socket();
  fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (fd < 0) {
    fd = -1;
    return -1;
  }
  mode = MODE_LISTEN;
  unlink(addr.sun_path);  // result ignored: a file left by an earlier run goes away here
  auto* address = reinterpret_cast<const sockaddr*>(&addr);
  if (bind(fd, address, sizeof(addr)) == 0) {
    chmod(addr.sun_path, kSocketMode);  // result ignored, as a failure cannot be mended here
    if (listen(fd, kBacklog) == 0) return 0;
  }
  close_socket();
  return -1;
}

int Connection::open_client() {
  close_socket();
  fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (fd < 0) {
    fd = -1;
    return -1;
  }
  mode = MODE_CLIENT;
  return 0;
}

int Connection::accept_client() {
  if (mode == MODE_ACCEPTED) return -1;
  if (fd == -1 || mode != MODE_LISTEN) {
    open_listener();
    if (fd == -1) return -1;
  }
  return accept(fd, nullptr, nullptr);
}

int Connection::connect_server() {
  if (mode == MODE_ACCEPTED) return -1;
  if (fd == -1 || mode != MODE_CLIENT) {
    open_client();
    if (fd == -1) return -1;
  }
  return connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof(addr));
}

int Connection::write_packet(const Packet& packet) {
  uint8_t word[kLengthWordSize];
  write_be16(word, packet.size);
  if (write(fd, word, sizeof(word)) < 0) return -1;
  return write(fd, packet.data, packet.size) < 0 ? -1 : 0;
}

int Connection::read_packet(Packet& packet) { return read_packet_by(packet, nullptr); }

int Connection::read_packet(Packet& packet, std::chrono::steady_clock::time_point deadline) {
  return read_packet_by(packet, &deadline);
}

int Connection::read_packet_by(Packet& packet,
                               const std::chrono::steady_clock::time_point* deadline) {
  uint8_t word[kLengthWordSize] = {0, 0};
  if (deadline != nullptr && !readable_by(*deadline)) return -1;
  ssize_t got = read(fd, word, sizeof(word));
  if (got < 0) return -1;
  // A stream that ended before the whole length word reads as an empty packet.
  uint16_t length = got == kLengthWordSize ? read_be16(word) : 0;
  if (deadline != nullptr && length != 0 && !readable_by(*deadline)) {
    packet.set_size(0);  // the request never came whole: as if the client had sent nothing
    return -1;
  }
  packet.set_size(length);
  return read(fd, packet.data, packet.size) < 0 ? -1 : 0;
}

bool Connection::readable_by(std::chrono::steady_clock::time_point deadline) const {
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd peer{fd, POLLIN, 0};
    const int ready = poll(&peer, 1, static_cast<int>(left.count()));
    if (ready > 0) return true;  // data, the end of the stream or an error: read tells
    if (ready < 0 && errno != EINTR) return true;  // let read report it
  }
}

}  // namespace sarvik
