// Giving up a question whose client has gone.
#ifndef SARVIK_TOOLS_WEB_CLIENT_WATCH_H_
#define SARVIK_TOOLS_WEB_CLIENT_WATCH_H_

#include <functional>
#include <thread>

namespace sarvik::web {

// Watches a client's connection while a question is answered for it. When the client hangs up
// (a closed browser tab, or a reverse proxy whose own client left), `gone` is called once: at
// once when the client is gone already, else from the watch's own thread, so that the search
// stops at its next block instead of reading on for nobody. A client that half-closes its
// connection after its request counts as gone, as it does for common reverse proxies. A descriptor
// of -1 watches nothing. The watch never reads from the connection. Built and destroyed by the
// thread that answers the request.
class ClientWatch {
 public:
  ClientWatch(int client_fd, std::function<void()> gone);
  // Stops watching; `gone` is not called after it returns.
  ~ClientWatch();
  ClientWatch(const ClientWatch&) = delete;
  ClientWatch& operator=(const ClientWatch&) = delete;

 private:
  int stop_fd = -1;  // an eventfd that ends the watch
  std::thread watcher;
};

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_CLIENT_WATCH_H_
