// What the console is set to: where the logs are, and how much it takes on at once.
#ifndef SARVIK_TOOLS_WEB_CONSOLE_SETTINGS_H_
#define SARVIK_TOOLS_WEB_CONSOLE_SETTINGS_H_

#include <cstddef>
#include <string>

namespace sarvik::web {

struct ConsoleSettings {
  std::string root;      // the log volume; empty: share/path of the settings, read per request
  std::string settings;  // the service's settings file
  std::string token;     // the secret every request must carry
  // Searches that run at once; more wait for their turn, up to `most_waiting`, beyond which a
  // request is refused (503). Each search reads with up to four threads of its own.
  size_t most_queries = 4;
  size_t most_waiting = 64;
  // Event streams of /api/follow at once; each holds an inotify instance while it lasts.
  size_t most_followers = 32;
  // A comment goes to a follower after this long without an event, to keep proxies from
  // closing the stream and to notice a client that has gone.
  int keep_alive_ms = 15000;
};

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_CONSOLE_SETTINGS_H_
