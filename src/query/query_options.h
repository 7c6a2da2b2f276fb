// The words of a query, as the command line and the web console take them.
#ifndef SARVIK_QUERY_QUERY_OPTIONS_H_
#define SARVIK_QUERY_QUERY_OPTIONS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "query/record_filter.h"

namespace sarvik::query {

// The options as given, named as sarvik-log's long options; their meaning is checked when the
// query is built.
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

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_QUERY_OPTIONS_H_
