// What a query of sarvik-log means once its options are checked.
#include "query/query_plan.h"

#include "query/settings_source.h"

namespace sarvik::query {

namespace {

// The first option of access and alert lines that was given, for the message against their use
// on system lines; empty when none was.
std::string access_option_given(const QueryOptions& o) {
  const FilterValues& f = o.filters;
  if (!f.users.empty()) return "--user";
  if (!f.hosts.empty()) return "--host";
  if (!f.shares.empty()) return "--share";
  if (!f.addresses.empty()) return "--ip";
  if (!f.operations.empty()) return "--op";
  if (!f.results.empty()) return "--result";
  if (!f.paths.empty()) return "--path";
  if (o.all_rules || !o.rule_names.empty()) return "--rules";
  return "";
}

bool check_combinations(const QueryOptions& o, std::string* error) {
  bool system = o.kind == "system";
  std::string access_option = access_option_given(o);
  if (system && !access_option.empty()) {
    *error = access_option + " applies to access and alert lines, not to --kind system";
    return false;
  }
  if (!system && !o.filters.texts.empty()) {
    *error = "--text applies to system lines (--kind system); use --grep for whole lines";
    return false;
  }
  int summaries = o.count + !o.stats.empty() + !o.histogram.empty();
  if (summaries > 1) {
    *error = "--count, --stats and --histogram exclude each other";
    return false;
  }
  if (o.top != 0 && o.stats.empty()) {
    *error = "--top goes with --stats";
    return false;
  }
  if (o.follow && (summaries > 0 || o.reverse || o.limit != 0)) {
    *error =
        "--follow prints lines as they come: it does not go with --count, --stats, "
        "--histogram, --reverse or --limit";
    return false;
  }
  return true;
}

bool read_range(const QueryOptions& o, time_t now, TimeRange* range, std::string* error) {
  std::optional<CivilTime> since, until;
  for (auto [text, bound, name] : {std::make_tuple(&o.since, &since, "--since"),
                                   std::make_tuple(&o.until, &until, "--until")}) {
    if (text->empty()) continue;
    CivilTime time;
    std::string why;
    if (!parse_time_bound(*text, now, &time, &why)) {
      *error = std::string(name) + ": " + why;
      return false;
    }
    *bound = time;
  }
  *range = TimeRange(since, until);
  return true;
}

}  // namespace

bool build_query_plan(const QueryOptions& o, time_t now, bool terminal, QueryPlan* plan,
                      std::string* error) {
  if (!check_combinations(o, error)) return false;
  if (o.kind == "system") {
    plan->kind = kSystemLog;
    plan->access_columns = false;
  } else if (o.kind == "alert") {
    plan->kind = kAlertLog;
  }
  plan->kind_name = o.kind == "system" ? "system" : o.kind == "alert" ? "alert" : "access";
  if (!read_range(o, now, &plan->range, error)) return false;
  if (!plan->filter.build(o.filters, error)) return false;

  bool want_rules = o.all_rules || !o.rule_names.empty();
  plan->root = o.root;
  if (plan->root.empty() || want_rules) {
    ConfigXml config;
    if (!load_settings(o.settings, &config, error)) return false;
    if (plan->root.empty() && !settings_volume(config, o.settings, &plan->root, error)) {
      return false;
    }
    if (want_rules) {
      plan->rules = std::make_unique<RuleBacktest>();
      // --rules takes them all; named rules alone narrow it down.
      std::vector<std::string> names = o.all_rules ? std::vector<std::string>() : o.rule_names;
      if (!plan->rules->load(config, o.settings, names, error)) return false;
    }
  }

  SummaryRequest& summary = plan->summary_request;
  plan->summary = o.count || !o.stats.empty() || !o.histogram.empty();
  if (o.count) summary.kind = SummaryRequest::Kind::kCount;
  if (!o.stats.empty()) {
    summary.kind = SummaryRequest::Kind::kStats;
    summary.top = o.top;
    if (!parse_stats_fields(o.stats, plan->access_columns, &summary.fields, error)) return false;
  }
  if (!o.histogram.empty()) {
    summary.kind = SummaryRequest::Kind::kHistogram;
    summary.hourly = o.histogram == "hour";
  }

  plan->terminal = terminal;
  if (o.output.empty()) {
    plan->form = terminal ? OutputForm::kTable : OutputForm::kCsv;
  } else {
    plan->form = o.output == "table"  ? OutputForm::kTable
                 : o.output == "tsv"  ? OutputForm::kTsv
                 : o.output == "json" ? OutputForm::kJson
                                      : OutputForm::kCsv;
  }
  plan->reverse = o.reverse;
  plan->limit = o.limit;
  plan->follow = o.follow;
  return true;
}

}  // namespace sarvik::query
