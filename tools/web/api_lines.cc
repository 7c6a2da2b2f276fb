// GET /api/lines: a page of matching lines, newest first when asked, with the cursor of the next.
#include <optional>

#include "query/field_encoding.h"
#include "query/search.h"
#include "web/api.h"
#include "web/api_answer.h"
#include "web/client_watch.h"
#include "web/cursor.h"

namespace sarvik::web {

namespace {

constexpr uint64_t kDefaultPageLines = 100;
// The most text a page may hold; the records of the service are a few hundred bytes each.
constexpr size_t kMostPageBytes = size_t{32} * 1024 * 1024;

}  // namespace

Response busy_response() {
  return error_response(503, "too many questions at once; ask again in a moment");
}

Response given_up_response() {
  return error_response(503, "the connection closed while the question was answered: given up");
}

Response answer_lines(ApiContext& context, const Request& request) {
  const Parameters& parameters = request.parameters;
  ApiQuery asked;
  std::string error;
  if (!read_api_query(parameters,
                      kFilterParameters | kLimitParameter | kReverseParameter | kCursorParameter,
                      &asked, &error)) {
    return error_response(400, error);
  }
  query::QueryOptions& options = asked.options;
  if (!asked.limit_given) options.limit = kDefaultPageLines;
  if (options.limit > kMostPageLines) {
    return error_response(400,
                          "'limit' is at most " + std::to_string(kMostPageLines) + " lines a page");
  }
  options.output = "json";
  std::optional<query::LogPosition> from;
  if (!asked.cursor.empty()) {
    from.emplace();
    if (!decode_cursor(asked.cursor, query_fingerprint(parameters), &*from, &error)) {
      return error_response(400, error);
    }
  }
  query::QueryPlan plan;
  Response refusal;
  if (!plan_query(context.settings, options, &plan, &refusal)) return refusal;

  std::unique_ptr<QueryGate::Ticket> turn = context.queries.enter();
  if (!turn) return busy_response();
  WarningList warnings;
  query::Problems problems(warnings);
  query::Search search(plan, problems);
  if (!search.open(/*follow=*/false, &error)) return error_response(500, error);
  StringWriter lines(kMostPageBytes);
  std::optional<query::LogPosition> next;
  {
    ClientWatch watch(request.client_fd, [&search] { search.cancel(); });
    search.write_lines(lines, from ? &*from : nullptr, &next);
  }
  if (search.cancelled()) return given_up_response();
  if (lines.overflowed) {
    return error_response(413, "the page would hold more than " +
                                   std::to_string(kMostPageBytes >> 20) +
                                   " MiB of lines: ask fewer of them (limit)");
  }

  std::string body = "{\"lines\":";
  append_json_array(&body, lines.text);
  body += ",\"next\":";
  if (next) {
    query::append_json_string(&body, encode_cursor(*next, query_fingerprint(parameters)));
  } else {
    body += "null";
  }
  body += ',';
  append_warnings(&body, warnings.messages());
  body += '}';
  return json_response(200, std::move(body));
}

}  // namespace sarvik::web
