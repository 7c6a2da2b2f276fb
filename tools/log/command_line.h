// The command line of sarvik-log.
#ifndef SARVIK_TOOLS_LOG_COMMAND_LINE_H_
#define SARVIK_TOOLS_LOG_COMMAND_LINE_H_

#include "query/query_options.h"
#include "verify/verify_command.h"

namespace sarvik::log_tool {

// Reads the arguments into `options`, and those of verifying and setting up sealing into
// `command`. Returns -1 to go on; otherwise the run is over with the returned exit status: 0
// after --help, kTrouble after a usage error, which was told on standard error.
int parse_query_options(int argc, char** argv, query::QueryOptions* options,
                        verify::VerifyCommand* command);

}  // namespace sarvik::log_tool

#endif  // SARVIK_TOOLS_LOG_COMMAND_LINE_H_
