// Where the server listens: an IPv4 or IPv6 address with a port, or a Unix socket's path.
#include "web/listen_address.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace sarvik::web {

namespace {

constexpr int kBacklog = 128;

std::string with_reason(const std::string& what) { return what + ": " + strerror(errno); }

}  // namespace

bool parse_listen_address(const std::string& text, ListenAddress* address, std::string* error) {
  *address = ListenAddress();
  if (!text.empty() && text[0] == '/') {
    if (text.size() >= sizeof(sockaddr_un::sun_path)) {
      *error = "--listen: the socket path '" + text + "' is too long";
      return false;
    }
    address->socket_path = text;
    return true;
  }
  size_t colon = text.rfind(':');
  std::string host = colon == std::string::npos ? "" : text.substr(0, colon);
  std::string port = colon == std::string::npos ? "" : text.substr(colon + 1);
  if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
    host = host.substr(1, host.size() - 2);
  }
  in6_addr v6;
  in_addr v4;
  bool numeric = inet_pton(AF_INET, host.c_str(), &v4) == 1 ||
                 (inet_pton(AF_INET6, host.c_str(), &v6) == 1 && text[0] == '[');
  long number = 0;
  bool port_ok = !port.empty() && port.size() <= 5 &&
                 port.find_first_not_of("0123456789") == std::string::npos &&
                 (number = std::stol(port)) >= 1 && number <= 65535;
  if (!numeric || !port_ok) {
    *error = "--listen: '" + text +
             "' is neither ADDRESS:PORT (127.0.0.1:8514, [::1]:8514) nor a socket's absolute path";
    return false;
  }
  address->host = host;
  address->port = static_cast<int>(number);
  return true;
}

std::string login_url(const ListenAddress& address, const std::string& token) {
  std::string authority = "localhost";
  if (address.socket_path.empty()) {
    bool v6 = address.host.find(':') != std::string::npos;
    authority = (v6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
  }
  return "http://" + authority + "/login?token=" + token;
}

int open_listener(const ListenAddress& address, std::string* error) {
  if (!address.socket_path.empty()) {
    sockaddr_un local = {};
    local.sun_family = AF_UNIX;
    strncpy(local.sun_path, address.socket_path.c_str(), sizeof local.sun_path - 1);
    struct stat status;
    if (lstat(address.socket_path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode)) {
      unlink(address.socket_path.c_str());  // failure ignored: bind then says why
    }
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // Anyone on the machine may connect, as to the loopback address: the token is the gate,
    // and the reverse proxy in front runs as a user of its own.
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 ||
        chmod(address.socket_path.c_str(), 0666) != 0 || listen(fd, kBacklog) != 0) {
      *error = with_reason(address.socket_path);
      if (fd >= 0) close(fd);
      return -1;
    }
    return fd;
  }
  bool v6 = address.host.find(':') != std::string::npos;
  sockaddr_storage storage = {};
  socklen_t length;
  if (v6) {
    auto* in = reinterpret_cast<sockaddr_in6*>(&storage);
    in->sin6_family = AF_INET6;
    in->sin6_port = htons(static_cast<uint16_t>(address.port));
    inet_pton(AF_INET6, address.host.c_str(), &in->sin6_addr);
    length = sizeof *in;
  } else {
    auto* in = reinterpret_cast<sockaddr_in*>(&storage);
    in->sin_family = AF_INET;
    in->sin_port = htons(static_cast<uint16_t>(address.port));
    inet_pton(AF_INET, address.host.c_str(), &in->sin_addr);
    length = sizeof *in;
  }
  int fd = socket(v6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int on = 1;
  if (fd < 0 || setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      (v6 && setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on) != 0) ||
      bind(fd, reinterpret_cast<sockaddr*>(&storage), length) != 0 || listen(fd, kBacklog) != 0) {
    *error = with_reason("--listen " + address.host + ":" + std::to_string(address.port));
    if (fd >= 0) close(fd);
    return -1;
  }
  return fd;
}

}  // namespace sarvik::web
