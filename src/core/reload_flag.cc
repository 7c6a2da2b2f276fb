// The one channel from the hang-up signal to the server loop.
#include "core/reload_flag.h"

namespace sarvik {

volatile std::sig_atomic_t reload_requested = 0;

namespace {

void request_reload(int) { reload_requested = 1; }

}  // namespace

void install_signal_handlers() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGHUP, request_reload);
}

}  // namespace sarvik
