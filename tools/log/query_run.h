// Running a query of sarvik-log from its options to its exit status.
#ifndef SARVIK_TOOLS_LOG_QUERY_RUN_H_
#define SARVIK_TOOLS_LOG_QUERY_RUN_H_

#include <time.h>

#include "query/query_options.h"

namespace sarvik::log_tool {

// Reads the log that `options` name and writes the matching lines, or their summary, to
// standard output; problems go to standard error. `now` is the time that relative bounds count
// from. Returns the exit status: kMatched, kNoneMatched or kTrouble (also when some file could
// not be read, after the rest was). Main thread; the search starts and joins its own workers.
int run_query(const query::QueryOptions& options, time_t now);

}  // namespace sarvik::log_tool

#endif  // SARVIK_TOOLS_LOG_QUERY_RUN_H_
