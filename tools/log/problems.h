// What goes wrong while the logs are read: told on standard error, remembered for the exit status.
#ifndef SARVIK_TOOLS_LOG_PROBLEMS_H_
#define SARVIK_TOOLS_LOG_PROBLEMS_H_

#include <atomic>
#include <mutex>
#include <string>

namespace sarvik::log_query {

// Prints each message as "sarvik-log: MESSAGE" on standard error, made safe for a terminal
// (file names come from a tree that anybody may write). Any thread may report; messages never
// interleave.
class Problems {
 public:
  // Something the user should know that does not make the run fail.
  void warn(const std::string& message);
  // An error: the rest is still read, but the exit status becomes 2, as grep's does.
  void fail(const std::string& message);
  bool failed() const { return has_failed.load(); }

 private:
  void print(const std::string& message);

  std::mutex mutex;  // one message at a time on the stream
  std::atomic<bool> has_failed{false};
};

}  // namespace sarvik::log_query

#endif  // SARVIK_TOOLS_LOG_PROBLEMS_H_
