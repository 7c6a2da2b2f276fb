// The command line of sarvik-log.
#ifndef SARVIK_TOOLS_LOG_QUERY_OPTIONS_H_
#define SARVIK_TOOLS_LOG_QUERY_OPTIONS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "record_filter.h"

namespace sarvik::log_query {

// The options as given; their meaning is checked when the query is built.
struct QueryOptions {
  std::string root;  // empty: the volume that the settings name
  std::string settings;
  std::string kind = "access";
  std::string since;
  std::string until;
  FilterValues filters;
  std::vector<std::string> rule_names;
  bool all_rules = false;
  std::string output;  // empty: a table on a terminal, CSV otherwise
  bool count = false;
  std::string stats;
  uint64_t top = 0;
  std::string histogram;
  bool reverse = false;
  uint64_t limit = 0;
  bool follow = false;
};

// The exit status of grep: a line matched, none did, an error.
inline constexpr int kMatched = 0;
inline constexpr int kNoneMatched = 1;
inline constexpr int kTrouble = 2;

// Reads the arguments into `options`. Returns -1 to go on; otherwise the run is over with the
// returned exit status: 0 after --help, kTrouble after a usage error, which was told on
// standard error.
int parse_query_options(int argc, char** argv, QueryOptions* options);

}  // namespace sarvik::log_query

#endif  // SARVIK_TOOLS_LOG_QUERY_OPTIONS_H_
