// A small HTTP/1.1 client for end-to-end tests of sarvik-web, over TCP or a Unix socket.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_HTTP_CLIENT_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_HTTP_CLIENT_H_

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace sarvik::testing {

using namespace std::chrono_literals;

// Where the server listens: a Unix socket's path, or a port on 127.0.0.1.
struct WebAddress {
  std::string socket_path;
  int port = 0;
};

struct HttpAnswer {
  int status = 0;                                            // 0: no answer came
  std::vector<std::pair<std::string, std::string>> headers;  // names in lower case
  std::string body;                                          // chunks joined
  bool complete = false;  // the body came whole: its length, or the last chunk
  // The value of the header `name` (lower case), or empty.
  std::string header(const std::string& name) const;
};

// A connected socket to the server, or -1.
int connect_web(const WebAddress& address);

// Sends "GET target" with `headers` ("Name: value") and Connection: close, then reads the
// answer until the server closes or `timeout` passes.
HttpAnswer http_get(const WebAddress& address, const std::string& target,
                    const std::vector<std::string>& headers = {},
                    std::chrono::milliseconds timeout = 10s);

// Reads the raw text of an answer: the status line, the headers, the body (chunks undone).
HttpAnswer parse_http_answer(const std::string& raw);

// An answer read while it comes, as an event stream is. Closes its connection when destroyed.
class HttpStream {
 public:
  HttpStream(const WebAddress& address, const std::string& target,
             const std::vector<std::string>& headers = {});
  ~HttpStream();
  HttpStream(const HttpStream&) = delete;
  HttpStream& operator=(const HttpStream&) = delete;

  // True once the raw text received holds `text`.
  bool wait_for(const std::string& text, std::chrono::milliseconds timeout = 10s);
  std::string received() const { return raw; }

 private:
  int fd = -1;
  std::string raw;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_HTTP_CLIENT_H_
