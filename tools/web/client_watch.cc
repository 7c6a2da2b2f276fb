// Giving up a question whose client has gone.
#include "web/client_watch.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace sarvik::web {

namespace {

constexpr short kHungUp = POLLRDHUP | POLLHUP | POLLERR | POLLNVAL;

}  // namespace

ClientWatch::ClientWatch(int client_fd, std::function<void()> gone) {
  if (client_fd < 0) return;
  // A client that left while its question waited for its turn is given up before any reading.
  pollfd now = {client_fd, POLLRDHUP, 0};
  if (poll(&now, 1, 0) > 0 && (now.revents & kHungUp) != 0) {
    gone();
    return;
  }
  stop_fd = eventfd(0, EFD_CLOEXEC);
  // Without an eventfd the question is answered to the end, as without a watch.
  if (stop_fd < 0) return;
  watcher = std::thread([client_fd, stop = stop_fd, gone = std::move(gone)] {
    pollfd waits[2] = {{client_fd, POLLRDHUP, 0}, {stop, POLLIN, 0}};
    for (;;) {
      int ready = poll(waits, 2, -1);
      if (ready < 0 && errno == EINTR) continue;
      if (ready < 0 || waits[1].revents != 0) return;
      if ((waits[0].revents & kHungUp) != 0) {
        gone();
        return;
      }
    }
  });
}

ClientWatch::~ClientWatch() {
  if (stop_fd < 0) return;
  uint64_t one = 1;
  // failure ignored: an eventfd's counter cannot overflow from a single write
  (void)!write(stop_fd, &one, sizeof one);
  watcher.join();
  close(stop_fd);
}

}  // namespace sarvik::web
