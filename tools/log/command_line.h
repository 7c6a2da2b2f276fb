// The command line of sarvik-log.
#ifndef SARVIK_TOOLS_LOG_COMMAND_LINE_H_
#define SARVIK_TOOLS_LOG_COMMAND_LINE_H_

#include "query/query_options.h"

namespace sarvik::log_tool {

// Reads the arguments into `options`. Returns -1 to go on; otherwise the run is over with the
// returned exit status: 0 after --help, kTrouble after a usage error, which was told on
// standard error.
int parse_query_options(int argc, char** argv, query::QueryOptions* options);

}  // namespace sarvik::log_tool

#endif  // SARVIK_TOOLS_LOG_COMMAND_LINE_H_
