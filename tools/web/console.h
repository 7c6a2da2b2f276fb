// The console: every request from its method and path to its answer, behind the token.
#ifndef SARVIK_TOOLS_WEB_CONSOLE_H_
#define SARVIK_TOOLS_WEB_CONSOLE_H_

#include "web/api.h"
#include "web/console_settings.h"
#include "web/file_facts.h"
#include "web/http_message.h"
#include "web/query_gate.h"

namespace sarvik::web {

// The headers every answer carries: a Content-Security-Policy that allows nothing but the
// console's own files, no sniffing of types, no referrer.
inline constexpr char kContentSecurityPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "connect-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'";

// Thread-safe: the HTTP layer calls handle from any number of threads.
class Console {
 public:
  explicit Console(ConsoleSettings settings);

  Response handle(const Request& request);
  // Refuses new searches and sends the waiting away (at shutdown).
  void shut_down();

 private:
  Response api(const Request& request);
  Response login(const Request& request);

  ConsoleSettings settings;
  QueryGate queries;
  QueryGate followers;
  FileFactsCache file_facts;
  ApiContext context;
};

// The common headers of every answer, and Cache-Control for those of the API.
std::vector<std::pair<std::string, std::string>> common_headers(const std::string& path);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_CONSOLE_H_
