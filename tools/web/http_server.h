// The HTTP side of the console, on libmicrohttpd.
//
// Why libmicrohttpd: it bounds by itself what a hostile client could make grow. Connections are
// capped (MHD_OPTION_CONNECTION_LIMIT), each has a thread of its own (so the threads are capped
// too, and a slow search or a follower never holds up another client), a client idle for the
// timeout is dropped, also one that stops reading, and the request line and headers live in a
// fixed memory pool per connection (an oversized one is answered 414 or 431 by the library). A
// body of unknown size goes out chunked, pulled block by block from a callback, which keeps a
// streamed export or event stream at the size of one bounded buffer. It is a C library with a
// stable interface, in Debian for years, and the one the journal's HTTP gateway is built on.
// cpp-httplib (0.11 in Debian 12) queues accepted connections without bound in front of a fixed
// thread pool, so 200 idle connections hold every thread until they time out; Boost.Beast would
// leave the timeouts, limits and chunking to us.
#ifndef SARVIK_TOOLS_WEB_HTTP_SERVER_H_
#define SARVIK_TOOLS_WEB_HTTP_SERVER_H_

#include <mutex>
#include <set>
#include <string>

#include "web/console.h"

struct MHD_Daemon;

namespace sarvik::web {

struct ServerLimits {
  unsigned most_connections = 256;
  unsigned idle_timeout_seconds = 30;
  // The request line and headers of one request, with the library's own bookkeeping.
  size_t request_memory = size_t{32} * 1024;
  // Text of a streamed body held ahead of the client.
  size_t stream_buffer = size_t{256} * 1024;
};

class StreamState;

// Serves the console on a listening socket. start and stop on one thread; the library's threads
// call the console.
class HttpServer {
 public:
  HttpServer(Console& console, const ServerLimits& limits) : console(console), limits(limits) {}
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // Takes over `listen_fd` (closed by stop, or at once when the start fails). False with a
  // reason.
  bool start(int listen_fd, std::string* error);
  // Ends the streamed bodies, then every connection, and waits for their threads.
  void stop();

  // The streamed bodies being sent; they register themselves. Thread-safe.
  void add_stream(StreamState* stream);
  void remove_stream(StreamState* stream);

  Console& console;
  const ServerLimits limits;

 private:
  MHD_Daemon* daemon = nullptr;
  std::mutex mutex;
  std::set<StreamState*> streams;  // guarded by mutex
  bool stopping = false;           // guarded by mutex
};

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_HTTP_SERVER_H_
