// GET /api/count, /api/stats and /api/histogram: the command line's summaries as JSON.
#include <limits>

#include "query/search.h"
#include "web/api.h"
#include "web/api_answer.h"

namespace sarvik::web {

namespace {

// A range of at most this many seconds gets a bar per hour when the interval is left to the
// server.
constexpr int64_t kHourlyRangeMost = int64_t{3} * 86400;

// Counts the plan's lines into `summary`; the answer to give instead when it cannot.
bool summarize(ApiContext& context, const query::QueryPlan& plan, query::Summary* summary,
               std::vector<std::string>* warning_texts, Response* refusal) {
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
  search.summarize(summary);
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

}  // namespace

Response answer_count(ApiContext& context, const Parameters& parameters) {
  ApiQuery asked;
  std::string error;
  if (!read_api_query(parameters, kFilterParameters, &asked, &error)) {
    return error_response(400, error);
  }
  asked.options.count = true;
  query::QueryPlan plan;
  Response refusal;
  if (!plan_query(context.settings, asked.options, &plan, &refusal)) return refusal;
  query::Summary summary(plan.summary_request);
  std::vector<std::string> warnings;
  if (!summarize(context, plan, &summary, &warnings, &refusal)) return refusal;
  std::string body = "{\"count\":" + std::to_string(summary.lines()) + ",";
  append_warnings(&body, warnings);
  body += '}';
  return json_response(200, std::move(body));
}

Response answer_stats(ApiContext& context, const Parameters& parameters) {
  ApiQuery asked;
  std::string error;
  if (!read_api_query(parameters, kFilterParameters | kStatsParameters, &asked, &error)) {
    return error_response(400, error);
  }
  if (asked.options.stats.empty()) {
    return error_response(400, "'stats' names the fields to count by: stats=FIELD[,FIELD]");
  }
  query::QueryPlan plan;
  Response refusal;
  if (!plan_query(context.settings, asked.options, &plan, &refusal)) return refusal;
  query::Summary summary(plan.summary_request);
  std::vector<std::string> warnings;
  if (!summarize(context, plan, &summary, &warnings, &refusal)) return refusal;
  std::string body = "{\"stats\":" + json_rows(summary) + ",";
  append_warnings(&body, warnings);
  body += '}';
  return json_response(200, std::move(body));
}

Response answer_histogram(ApiContext& context, const Parameters& parameters) {
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
    bool closed =
        first != std::numeric_limits<int64_t>::min() && last != std::numeric_limits<int64_t>::max();
    plan.summary_request.hourly = closed && last - first <= kHourlyRangeMost;
  }
  query::Summary summary(plan.summary_request);
  std::vector<std::string> warnings;
  if (!summarize(context, plan, &summary, &warnings, &refusal)) return refusal;
  std::string body = std::string("{\"interval\":\"") +
                     (plan.summary_request.hourly ? "hour" : "day") +
                     "\",\"histogram\":" + json_rows(summary) + ",";
  append_warnings(&body, warnings);
  body += '}';
  return json_response(200, std::move(body));
}

}  // namespace sarvik::web
