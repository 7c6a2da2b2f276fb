// Where the server listens: an IPv4 or IPv6 address with a port, or a Unix socket's path.
#ifndef SARVIK_TOOLS_WEB_LISTEN_ADDRESS_H_
#define SARVIK_TOOLS_WEB_LISTEN_ADDRESS_H_

#include <string>

namespace sarvik::web {

inline constexpr char kDefaultListen[] = "127.0.0.1:8514";

struct ListenAddress {
  std::string host;  // numeric, without brackets; empty for a Unix socket
  int port = 0;
  std::string socket_path;  // a Unix socket: its absolute path
};

// Reads "ADDR:PORT" ("127.0.0.1:8514", "[::1]:8514") or an absolute path. False with a reason.
bool parse_listen_address(const std::string& text, ListenAddress* address, std::string* error);

// The address to open the console at, signing in with `token`: "http://127.0.0.1:8514/login?
// token=...". Behind a Unix socket the host is the reverse proxy's; "localhost" stands for it.
std::string login_url(const ListenAddress& address, const std::string& token);

// Opens, binds and listens; a Unix socket's stale file (a socket left behind) is replaced, any
// other file is not. The descriptor, or -1 with a reason.
int open_listener(const ListenAddress& address, std::string* error);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_LISTEN_ADDRESS_H_
