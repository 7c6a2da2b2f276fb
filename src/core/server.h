// The server loop: one connection, one request, one answer at a time.
#ifndef SARVIK_CORE_SERVER_H_
#define SARVIK_CORE_SERVER_H_

namespace sarvik {

// Brings the service up and serves clients on the socket for ever, strictly one at a time on
// the calling (main) thread. Leaves only by an exception from the start-up.
[[noreturn]] void server_main();

}  // namespace sarvik

#endif  // SARVIK_CORE_SERVER_H_
