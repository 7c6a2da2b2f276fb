// What a query of sarvik-log means once its options are checked: the log, the filters, the form.
#ifndef SARVIK_QUERY_QUERY_PLAN_H_
#define SARVIK_QUERY_QUERY_PLAN_H_

#include <time.h>

#include <cstdint>
#include <memory>
#include <string>

#include "logstore/log_kinds.h"
#include "query/query_options.h"
#include "query/record_filter.h"
#include "query/record_format.h"
#include "query/rule_backtest.h"
#include "query/summary.h"
#include "query/time_range.h"

namespace sarvik::query {

struct QueryPlan {
  LogKind kind = kAccessLog;
  const char* kind_name = "access";
  bool access_columns = true;
  std::string root;
  TimeRange range;
  RecordFilter filter;
  std::unique_ptr<RuleBacktest> rules;  // null: no rules asked for
  bool summary = false;
  SummaryRequest summary_request;
  OutputForm form = OutputForm::kCsv;
  bool terminal = false;  // standard output is a terminal
  bool reverse = false;
  uint64_t limit = 0;
  bool follow = false;
};

// Checks `options` and builds the plan; the settings file is read when the volume or the rules
// come from it. False with a reason in `error` for options that do not go together, a value
// that cannot be read, or settings that cannot be read.
bool build_query_plan(const QueryOptions& options, time_t now, bool terminal, QueryPlan* plan,
                      std::string* error);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_QUERY_PLAN_H_
