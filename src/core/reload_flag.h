// The one channel from the hang-up signal to the server loop.
#ifndef SARVIK_CORE_RELOAD_FLAG_H_
#define SARVIK_CORE_RELOAD_FLAG_H_

#include <csignal>

namespace sarvik {

// 1 after a SIGHUP asked for a reload of the settings; the server loop reads it after each
// accept and clears it. Written only by the signal handler and the main thread.
extern volatile std::sig_atomic_t reload_requested;

// Ignores SIGPIPE, so that a client that left only makes a write fail, and installs the SIGHUP
// handler, which sets `reload_requested` and nothing else. With `signal`'s semantics an
// interrupted accept restarts, so a reload waits for the next client. Main thread, at start.
void install_signal_handlers();

}  // namespace sarvik

#endif  // SARVIK_CORE_RELOAD_FLAG_H_
