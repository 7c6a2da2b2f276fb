// Running sarvik-web: the token, the socket, the server until a signal ends it.
#ifndef SARVIK_TOOLS_WEB_WEB_RUN_H_
#define SARVIK_TOOLS_WEB_WEB_RUN_H_

#include "web/web_command_line.h"

namespace sarvik::web {

// Prints the sign-in address (--url), or serves until SIGINT or SIGTERM. Returns the exit
// status. Main thread; call before any other thread starts, as it blocks the stop signals.
int run_web(const WebOptions& options);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_WEB_RUN_H_
