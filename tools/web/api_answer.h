// The pieces of the API's answers: JSON bodies, errors, warnings, and the plan of a query.
#ifndef SARVIK_TOOLS_WEB_API_ANSWER_H_
#define SARVIK_TOOLS_WEB_API_ANSWER_H_

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "query/problems.h"
#include "query/query_plan.h"
#include "query/text_writer.h"
#include "web/api_parameters.h"
#include "web/console_settings.h"
#include "web/http_message.h"

namespace sarvik::web {

inline constexpr char kJsonType[] = "application/json; charset=utf-8";

// An answer of the API with a JSON body.
Response json_response(int status, std::string body);
// {"error":"MESSAGE"} with `status`.
Response error_response(int status, const std::string& message);

// Keeps the problems of a query as the warnings of its answer; a problem that fails the run
// (a file that could not be read) is a warning too, as the rest was read. Thread-safe.
class WarningList : public query::ProblemSink {
 public:
  void tell(const std::string& message, bool error) override;
  std::vector<std::string> messages();

 private:
  std::mutex mutex;
  std::vector<std::string> held;  // guarded by mutex
};

// Appends "warnings":[...] (no comma before it).
void append_warnings(std::string* out, const std::vector<std::string>& warnings);

// Text written into a string, up to `most` bytes: beyond them a write fails, and the writer
// says so, so that one answer cannot take the memory of the whole machine (a file below the
// volume may hold records of megabytes, put there by anyone).
class StringWriter : public query::TextWriter {
 public:
  explicit StringWriter(size_t most = SIZE_MAX) : most(most) {}
  bool write(std::string_view piece) override {
    if (piece.size() > most - text.size()) {
      overflowed = true;
      return false;
    }
    text.append(piece);
    return true;
  }
  bool flush() override { return !overflowed; }
  std::string text;
  bool overflowed = false;

 private:
  size_t most;
};

// Appends the JSON objects of `lines` (one a line, each ending in a line feed, as the JSON
// output form and the summaries write them) as the elements of an array, brackets included.
void append_json_array(std::string* out, std::string_view lines);

// Checks the query's options with the command line's own code and builds its plan, the volume
// being the server's (the settings' share/path, read now, when it has none of its own). False
// with the answer to give instead: 400 with the command line's message for options it refuses,
// 500 when the settings cannot be read for the volume.
bool plan_query(const ConsoleSettings& settings, query::QueryOptions options,
                query::QueryPlan* plan, Response* refusal);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_API_ANSWER_H_
