// The command line of sarvik-web.
#ifndef SARVIK_TOOLS_WEB_WEB_COMMAND_LINE_H_
#define SARVIK_TOOLS_WEB_WEB_COMMAND_LINE_H_

#include <string>

namespace sarvik::web {

inline constexpr char kDefaultStateDir[] = "/var/lib/sarvik-web";

struct WebOptions {
  std::string root;  // empty: share/path of the settings
  std::string settings;
  std::string listen;
  std::string state_dir;
  bool url = false;  // print the address with the token, then end
};

// Exit statuses of sarvik-web.
inline constexpr int kWebFailed = 1;
inline constexpr int kWebUsage = 2;

// Reads the arguments into `options`. -1 to go on; otherwise the run is over with the returned
// exit status: 0 after --help, kWebUsage after a usage error, told on standard error.
int parse_web_options(int argc, char** argv, WebOptions* options);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_WEB_COMMAND_LINE_H_
