// A small HTTP/1.1 client for end-to-end tests of sarvik-web, over TCP or a Unix socket.
#include "harness/http_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>

namespace sarvik::testing {

namespace {

using Clock = std::chrono::steady_clock;

bool send_all(int fd, const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

std::string request_text(const std::string& target, const std::vector<std::string>& headers) {
  std::string text = "GET " + target + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
  for (const std::string& header : headers) text += header + "\r\n";
  return text + "\r\n";
}

// Reads what comes within the time left; false once the server has closed.
bool read_some(int fd, std::string* into, Clock::time_point until) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
  if (left.count() <= 0) return false;
  pollfd wait{fd, POLLIN, 0};
  if (poll(&wait, 1, static_cast<int>(left.count())) <= 0) return true;
  char buffer[65536];
  ssize_t n = recv(fd, buffer, sizeof buffer, 0);
  if (n <= 0) return false;
  into->append(buffer, static_cast<size_t>(n));
  return true;
}

}  // namespace

std::string HttpAnswer::header(const std::string& name) const {
  for (const auto& [key, value] : headers) {
    if (key == name) return value;
  }
  return "";
}

int connect_web(const WebAddress& address) {
  int fd;
  int connected;
  if (!address.socket_path.empty()) {
    sockaddr_un remote = {};
    remote.sun_family = AF_UNIX;
    strncpy(remote.sun_path, address.socket_path.c_str(), sizeof remote.sun_path - 1);
    fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    connected = connect(fd, reinterpret_cast<sockaddr*>(&remote), sizeof remote);
  } else {
    sockaddr_in remote = {};
    remote.sin_family = AF_INET;
    remote.sin_port = htons(static_cast<uint16_t>(address.port));
    remote.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    connected = connect(fd, reinterpret_cast<sockaddr*>(&remote), sizeof remote);
  }
  if (connected != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

HttpAnswer parse_http_answer(const std::string& raw) {
  HttpAnswer answer;
  size_t head_end = raw.find("\r\n\r\n");
  if (raw.compare(0, 9, "HTTP/1.1 ") != 0 || head_end == std::string::npos) return answer;
  answer.status = std::stoi(raw.substr(9, 3));
  size_t start = raw.find("\r\n") + 2;
  while (start < head_end) {
    size_t end = raw.find("\r\n", start);
    std::string line = raw.substr(start, end - start);
    size_t colon = line.find(':');
    std::string name = line.substr(0, colon);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    size_t value = line.find_first_not_of(' ', colon + 1);
    answer.headers.emplace_back(name, value == std::string::npos ? "" : line.substr(value));
    start = end + 2;
  }
  std::string body = raw.substr(head_end + 4);
  if (answer.header("transfer-encoding") != "chunked") {
    answer.body = body;
    std::string length = answer.header("content-length");
    answer.complete = !length.empty() && body.size() == std::stoul(length);
    return answer;
  }
  size_t at = 0;
  for (;;) {
    size_t line_end = body.find("\r\n", at);
    if (line_end == std::string::npos) return answer;
    size_t size = std::stoul(body.substr(at, line_end - at), nullptr, 16);
    if (size == 0) {
      answer.complete = true;
      return answer;
    }
    if (line_end + 2 + size + 2 > body.size()) return answer;
    answer.body.append(body, line_end + 2, size);
    at = line_end + 2 + size + 2;
  }
}

HttpAnswer http_get(const WebAddress& address, const std::string& target,
                    const std::vector<std::string>& headers, std::chrono::milliseconds timeout) {
  int fd = connect_web(address);
  if (fd < 0) return HttpAnswer();
  std::string raw;
  if (send_all(fd, request_text(target, headers))) {
    Clock::time_point until = Clock::now() + timeout;
    while (read_some(fd, &raw, until)) {
    }
  }
  close(fd);
  return parse_http_answer(raw);
}

HttpStream::HttpStream(const WebAddress& address, const std::string& target,
                       const std::vector<std::string>& headers)
    : fd(connect_web(address)) {
  if (fd >= 0) send_all(fd, request_text(target, headers));
}

HttpStream::~HttpStream() {
  if (fd >= 0) close(fd);
}

bool HttpStream::wait_for(const std::string& text, std::chrono::milliseconds timeout) {
  Clock::time_point until = Clock::now() + timeout;
  while (raw.find(text) == std::string::npos) {
    if (fd < 0 || Clock::now() >= until || !read_some(fd, &raw, until)) {
      return raw.find(text) != std::string::npos;
    }
  }
  return true;
}

}  // namespace sarvik::testing
