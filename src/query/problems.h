// What goes wrong while the logs are read: handed to the front end, remembered for the result.
#ifndef SARVIK_QUERY_PROBLEMS_H_
#define SARVIK_QUERY_PROBLEMS_H_

#include <atomic>
#include <mutex>
#include <string>

namespace sarvik::query {

// Where the messages of a query go: the command line prints them on standard error, the web
// console answers them. Messages are plain text that may hold any bytes of the tree (file
// names); the sink makes them safe for where they go. Called by one thread at a time.
class ProblemSink {
 public:
  virtual ~ProblemSink() = default;
  // `error`: the message makes the run fail; otherwise it is a warning.
  virtual void tell(const std::string& message, bool error) = 0;
};

// Collects the problems of one query from any of its threads and hands them to a sink one at a
// time. The sink must outlive it.
class Problems {
 public:
  explicit Problems(ProblemSink& sink) : sink(sink) {}

  // Something the user should know that does not make the run fail.
  void warn(const std::string& message);
  // An error: the rest is still read, but the run has failed (exit status 2, as grep's).
  void fail(const std::string& message);
  bool failed() const { return has_failed.load(); }

 private:
  ProblemSink& sink;
  std::mutex mutex;  // one message at a time to the sink
  std::atomic<bool> has_failed{false};
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_PROBLEMS_H_
