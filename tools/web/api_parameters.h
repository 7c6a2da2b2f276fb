// The query parameters of the API: sarvik-log's long option names, read into its options.
#ifndef SARVIK_TOOLS_WEB_API_PARAMETERS_H_
#define SARVIK_TOOLS_WEB_API_PARAMETERS_H_

#include <cstdint>
#include <string>

#include "query/query_options.h"
#include "web/http_message.h"

namespace sarvik::web {

// The parameters an endpoint takes, as a set of bits.
enum AcceptedParameters : unsigned {
  kFilterParameters = 1u << 0,  // kind, since, until, user ... grep, rule, rules
  kKindParameter = 1u << 1,     // kind alone
  kLimitParameter = 1u << 2,
  kReverseParameter = 1u << 3,
  kCursorParameter = 1u << 4,
  kStatsParameters = 1u << 5,  // stats, top
  kHistogramParameter = 1u << 6,
  kOutputParameter = 1u << 7,
  kLineParameters = 1u << 8,  // file, line
};

// The most lines one page of /api/lines holds.
inline constexpr uint64_t kMostPageLines = 1000;

// What a request asks, read from its parameters.
struct ApiQuery {
  query::QueryOptions options;
  bool limit_given = false;
  std::string cursor;
  std::string histogram;  // "day", "hour", "auto", or empty when not given
  std::string file;
  uint64_t line = 0;  // 0: not given
};

// Reads `parameters` for an endpoint that takes `accepted`: a repeated filter is a repeated
// option, a flag is "1" or "true", a number is a positive decimal. False with the message of a
// bad request in `error` for a parameter the endpoint does not take (the volume and the settings
// are the server's, never a parameter), a value that is not one the parameter takes, or a
// parameter of one value given twice. The meaning of the filters is checked later, by the
// engine, with the command line's messages.
bool read_api_query(const Parameters& parameters, unsigned accepted, ApiQuery* query,
                    std::string* error);

// A digest of the parameters that decide which lines a query finds and in which order: all but
// `cursor` and `limit`, in any order. A cursor carries it, so that it is not used with another
// query.
uint64_t query_fingerprint(const Parameters& parameters);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_API_PARAMETERS_H_
