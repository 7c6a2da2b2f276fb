// The endpoints of the API below /api/, each from a request's parameters to its answer.
#ifndef SARVIK_TOOLS_WEB_API_H_
#define SARVIK_TOOLS_WEB_API_H_

#include "web/console_settings.h"
#include "web/file_facts.h"
#include "web/http_message.h"
#include "web/query_gate.h"

namespace sarvik::web {

// What the endpoints share; owned by the console, used by any of its threads.
struct ApiContext {
  const ConsoleSettings& settings;
  QueryGate& queries;
  QueryGate& followers;
  FileFactsCache& file_facts;
};

// GET /api/lines: a page of matching lines with the cursor of the next.
Response answer_lines(ApiContext& context, const Request& request);
// GET /api/count, /api/stats, /api/histogram.
Response answer_count(ApiContext& context, const Request& request);
Response answer_stats(ApiContext& context, const Request& request);
Response answer_histogram(ApiContext& context, const Request& request);
// GET /api/export: every matching line, streamed in an output form of the command line.
Response answer_export(ApiContext& context, const Request& request);
// GET /api/follow: new matching lines as an event stream.
Response answer_follow(ApiContext& context, const Request& request);
// GET /api/rules: the settings' rules, or what each makes of one logged line.
Response answer_rules(ApiContext& context, const Request& request);
// GET /api/files: the log files with their line counts and first and last times.
Response answer_files(ApiContext& context, const Request& request);

// The answer when the searches that may wait are all taken.
Response busy_response();
// The answer to a request whose client hung up while its search ran.
Response given_up_response();

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_API_H_
