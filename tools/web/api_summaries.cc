// GET /api/count, /api/stats and /api/histogram: the command line's summaries as JSON.
#include <time.h>

#include <limits>

#include "query/search.h"
#include "record/record_time.h"
#include "web/api.h"
#include "web/api_answer.h"
#include "web/client_watch.h"

namespace sarvik::web {

namespace {

// A range of at most this many seconds gets a bar per hour when the interval is left to the
// server.
constexpr int64_t kHourlyRangeMost = int64_t{3} * 86400;

// `when` as the wall clock shows it here, in civil seconds (as the time range counts).
int64_t local_civil_seconds(time_t when) {
  struct tm local;
  localtime_r(&when, &local);
  return civil_seconds(civil_time_of(local));
}

// Counts the plan's lines into `summary` while the client is there; the answer to give instead
// when it cannot.
bool summarize(ApiContext& context, const Request& request, const query::QueryPlan& plan,
               query::Summary* summary, std::vector<std::string>* warning_texts,
               Response* refusal) {
  std::unique_ptr<QueryGate::Ticket> turn = context.queries.enter();
  if (!turn) {
    *refusal = busy_response();
    return false;
  }
  WarningList warnings;
  query::Problems problems(warnings);
  query::Search search(plan, problems);
  std::string error;
  if (!search.open(/*follow=*/false, &error)) {
    *refusal = error_response(500, error);
    return false;
  }
  {
    ClientWatch watch(request.client_fd, [&search] { search.cancel(); });
    search.summarize(summary);
  }
  if (search.cancelled()) {
    *refusal = given_up_response();
    return false;
  }
  *warning_texts = warnings.messages();
  return true;
}

// The summary's rows as the command line writes them with --output json, in an array.
std::string json_rows(const query::Summary& summary) {
  StringWriter rows;
  summary.print(query::OutputForm::kJson, /*terminal=*/false, /*width=*/0, rows);
  std::string array;
  append_json_array(&array, rows.text);
  return array;
}

// Reads the parameters an endpoint takes, lets `adjust` complete the options (or refuse with a
// message), plans and counts. The answer to give instead when any step fails.
template <typename Adjust>
bool plan_and_summarize(ApiContext& context, const Request& request, unsigned accepted,
                        const Adjust& adjust, query::QueryPlan* plan,
                        std::unique_ptr<query::Summary>* summary,
                        std::vector<std::string>* warnings, Response* refusal) {
  ApiQuery asked;
  std::string error;
  if (!read_api_query(request.parameters, accepted, &asked, &error) || !adjust(&asked, &error)) {
    *refusal = error_response(400, error);
    return false;
  }
  if (!plan_query(context.settings, asked.options, plan, refusal)) return false;
  summary->reset(new query::Summary(plan->summary_request));
  return summarize(context, request, *plan, summary->get(), warnings, refusal);
}

}  // namespace

Response answer_count(ApiContext& context, const Request& request) {
  query::QueryPlan plan;
  std::unique_ptr<query::Summary> summary;
  std::vector<std::string> warnings;
  Response refusal;
  auto count = [](ApiQuery* asked, std::string*) { return asked->options.count = true; };
  if (!plan_and_summarize(context, request, kFilterParameters, count, &plan, &summary, &warnings,
                          &refusal)) {
    return refusal;
  }
  std::string body = "{\"count\":" + std::to_string(summary->lines()) + ",";
  append_warnings(&body, warnings);
  body += '}';
  return json_response(200, std::move(body));
}

Response answer_stats(ApiContext& context, const Request& request) {
  query::QueryPlan plan;
  std::unique_ptr<query::Summary> summary;
  std::vector<std::string> warnings;
  Response refusal;
  auto fields_given = [](ApiQuery* asked, std::string* error) {
    if (!asked->options.stats.empty()) return true;
    *error = "'stats' names the fields to count by: stats=FIELD[,FIELD]";
    return false;
  };
  if (!plan_and_summarize(context, request, kFilterParameters | kStatsParameters, fields_given,
                          &plan, &summary, &warnings, &refusal)) {
    return refusal;
  }
  std::string body = "{\"stats\":" + json_rows(*summary) + ",";
  append_warnings(&body, warnings);
  body += '}';
  return json_response(200, std::move(body));
}

Response answer_histogram(ApiContext& context, const Request& request) {
  const Parameters& parameters = request.parameters;
  ApiQuery asked;
  std::string error;
  if (!read_api_query(parameters, kFilterParameters | kHistogramParameter, &asked, &error)) {
    return error_response(400, error);
  }
  bool automatic = asked.histogram.empty() || asked.histogram == "auto";
  asked.options.histogram = automatic ? "day" : asked.histogram;
  query::QueryPlan plan;
  Response refusal;
  if (!plan_query(context.settings, asked.options, &plan, &refusal)) return refusal;
  if (automatic) {
    int64_t first = plan.range.first_second(), last = plan.range.last_second();
    // A range without an end runs up to now, as the page's presets ask ("since -24h").
    if (last == std::numeric_limits<int64_t>::max()) last = local_civil_seconds(time(nullptr));
    plan.summary_request.hourly =
        first != std::numeric_limits<int64_t>::min() && last - first <= kHourlyRangeMost;
  }
  query::Summary summary(plan.summary_request);
  std::vector<std::string> warnings;
  if (!summarize(context, request, plan, &summary, &warnings, &refusal)) return refusal;
  std::string body = std::string("{\"interval\":\"") +
                     (plan.summary_request.hourly ? "hour" : "day") +
                     "\",\"histogram\":" + json_rows(summary) + ",";
  append_warnings(&body, warnings);
  body += '}';
  return json_response(200, std::move(body));
}

}  // namespace sarvik::web
