// One Unix-domain stream socket that moves packets: listener, client or accepted connection.
#ifndef SARVIK_PROTOCOL_CONNECTION_H_
#define SARVIK_PROTOCOL_CONNECTION_H_

#include <sys/un.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "protocol/packet.h"

namespace sarvik {

// Wraps one socket descriptor, created lazily by the first accept_client or connect_server.
// Owns the descriptor and closes it on destruction; never unlinks the socket file. All calls
// block, report failures by return value only, and leave errno as the failed call set it. A
// connection belongs to the thread that made it.
class Connection {
 public:
  enum Mode : int32_t {
    MODE_NONE = 0,      // no socket open
    MODE_LISTEN = 1,    // bound, listening socket
    MODE_CLIENT = 2,    // outgoing socket, connected or not yet
    MODE_ACCEPTED = 3,  // descriptor handed in by the constructor; no address
  };

  // Records the address; the path is cut to 107 characters. Creates no socket.
  explicit Connection(const std::string& path);
  // Wraps a descriptor that accept_client returned.
  explicit Connection(int accepted_fd);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  virtual ~Connection();

  // Replaces any socket by a new one listening on the path, after unlinking a file left there;
  // the socket file gets mode 0777 whatever the umask. Returns 0 or -1.
  int open_listener();
  // Replaces any socket by a new, unconnected client socket. Returns 0 or -1.
  int open_client();
  // Accepts one connection, bringing the listener up first if it is not. Returns the new
  // descriptor, or a negative number; -1 at once on an accepted connection.
  int accept_client();
  // Connects to the path, creating the client socket first if needed. Returns the result of
  // connect, or -1; -1 at once on an accepted connection.
  int connect_server();
  // Sends the length word and the payload, one write each; a short write counts as success.
  int write_packet(const Packet& packet);
  // Receives one packet with one read for the length word and one for the payload; a short read
  // counts as success. A stream that ends before a whole length word yields an empty packet.
  int read_packet(Packet& packet);
  // read_packet that waits for the peer's bytes only until `deadline`: a packet not begun by
  // then stays as it was, one whose payload has not begun is left empty (size 0), and both
  // return -1. A payload that has begun is read as read_packet reads it, short or not.
  int read_packet(Packet& packet, std::chrono::steady_clock::time_point deadline);

  int32_t connection_mode() const { return mode; }

 private:
  void close_socket();
  // read_packet, waiting for the peer's bytes only until `deadline` unless it is null.
  int read_packet_by(Packet& packet, const std::chrono::steady_clock::time_point* deadline);
  // Whether bytes (or the end of the stream) can be read before `deadline`.
  bool readable_by(std::chrono::steady_clock::time_point deadline) const;

  int fd;
  sockaddr_un addr;
  int32_t mode;
};

}  // namespace sarvik

#endif  // SARVIK_PROTOCOL_CONNECTION_H_
