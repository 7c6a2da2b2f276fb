// The problems of a query told on standard error, as sarvik-log tells them.
#ifndef SARVIK_TOOLS_LOG_STANDARD_ERROR_H_
#define SARVIK_TOOLS_LOG_STANDARD_ERROR_H_

#include <string>

#include "query/problems.h"

namespace sarvik::log_tool {

// Prints each message as "sarvik-log: MESSAGE" on standard error, made safe for a terminal (file
// names come from a tree that anybody may write).
class StandardError : public query::ProblemSink {
 public:
  void tell(const std::string& message, bool error) override;
};

}  // namespace sarvik::log_tool

#endif  // SARVIK_TOOLS_LOG_STANDARD_ERROR_H_
