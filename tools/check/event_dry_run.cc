// The dry run: one access event through the service's handling, as far as the alert rules.
#include "check/event_dry_run.h"

#include <time.h>

#include <algorithm>
#include <vector>

#include "check/diagnostic.h"
#include "check/xml_lookup.h"
#include "protocol/request_data.h"
#include "record/access_fields.h"
#include "record/record_text.h"
#include "settings/settings_keys.h"

namespace sarvik::check {

namespace {

using Pattern = AlertInfo::AlertPattern;

// The event's fields as the rules receive them: the result in its brief form.
using RuleFields = AccessFields;

std::string period_failure(const ConfigXml& config, const AlertInfo& rule, const struct tm& local) {
  std::string day = weekday_name(config, local);
  std::string moment = clock_text(local.tm_hour, local.tm_min);
  if (rule.period_not) {
    return quoted(day) + " " + moment + " lies inside the period, and not=\"true\" excludes it";
  }
  if ((rule.weekdays & (uint32_t{1} << local.tm_wday)) == 0) {
    return quoted(day) + " is not set in 'weekdays'";
  }
  return moment + " is outside " + clock_text(rule.from_hour, rule.from_minute) + " to " +
         clock_text(rule.to_hour, rule.to_minute);
}

std::string user_failure(const AlertInfo& rule, const std::string& user) {
  bool everybody = (rule.username.flags & Pattern::ALERT_FLAG_ALL) != 0;
  bool inverted = (rule.username.flags & Pattern::ALERT_FLAG_NOT) != 0;
  if (everybody && inverted) return "'usernamelist' has both all=\"true\" and not=\"true\"";
  if (inverted) return quoted(user) + " is excluded by 'usernamelist' not=\"true\"";
  return quoted(user) + " is not in 'usernamelist'";
}

std::string pattern_failure(const std::string& value, const Pattern& pattern) {
  if ((pattern.flags & Pattern::ALERT_FLAG_NOT) != 0) {
    return quoted(value) + " matches " + quoted(pattern.text) + ", which not=\"true\" excludes";
  }
  return quoted(value) + " does not match " + quoted(pattern.text);
}

// The first condition of the rule test that `fields` fail, in the test's order, with its
// reason; empty when all pass.
std::string first_failure(const ConfigXml& config, const AlertInfo& rule, const struct tm& local,
                          const RuleFields& fields) {
  if (!rule.match_period(local)) return "period: " + period_failure(config, rule, local);
  if (!rule.match_username(fields.user)) return "user: " + user_failure(rule, fields.user);
  if (!rule.match_path(fields.host, rule.hostname)) {
    return "host: " + pattern_failure(fields.host, rule.hostname);
  }
  if (!rule.match_path(fields.ipaddr, rule.ipaddr)) {
    return "address: " + pattern_failure(fields.ipaddr, rule.ipaddr);
  }
  if (!rule.is_operation_enabled(fields.operation)) {
    bool listed = rule.operations.count(fields.operation) != 0;
    return "operation: " + quoted(fields.operation) +
           (listed ? " is not enabled in 'operationlist'" : " is not in 'operationlist'");
  }
  if (!rule.match_path(fields.result, rule.result)) {
    return "result: " + pattern_failure(fields.result, rule.result);
  }
  if (!rule.match_path(fields.share, rule.sharename)) {
    return "share: " + pattern_failure(fields.share, rule.sharename);
  }
  if (!rule.match_path(fields.path, rule.path)) {
    return "path: " + pattern_failure(fields.path, rule.path);
  }
  return std::string();
}

}  // namespace

AccessFields rule_fields(const EventFields& event) {
  ReqAccessLog request(event.user.c_str(), event.host.c_str(), event.ipaddr.c_str(),
                       event.operation.c_str(), event.status, event.error_number,
                       event.share.c_str(), event.path.c_str());
  // The normalisation of the access handler, by its own field builders.
  RuleFields fields = access_fields(request, request.text_entry(kAccessShare));
  fields.result = access_result(request, /*brief=*/true);
  return fields;
}

std::string weekday_name(const ConfigXml& config, const struct tm& local) {
  for (const auto& [day, bit] : config.weekday_bits) {
    if (bit == local.tm_wday) return day.raw();
  }
  return "?";
}

std::string reason_no_rule_is_tried(ConfigXml& config, const std::string& share) {
  if (!XmlData::GetEnable(config.GetRootNode(), keys::kAccessLogConf, keys::kEnable)) {
    return "'accesslogconf' is not enabled: the record is not logged";
  }
  if (!is_logged_share(share, config)) {
    // A share that "all" or the list would take is the reserved one.
    std::vector<std::string> listed = config.get_share_names();
    if (XmlData::GetEnable(config.GetRootNode(), keys::kShareList, keys::kAll) ||
        std::find(listed.begin(), listed.end(), share) != listed.end()) {
      return "share " + quoted(share) + " is never logged";
    }
    return "share " + quoted(share) + " is not named in 'sharelist', and its all is not \"true\"";
  }
  try {
    config.get_share_path();
  } catch (...) {
    return "the request fails: no 'share/path' text";
  }
  try {
    config.GetAutoDelete(kAccessLogExpiry);
  } catch (...) {
    return std::string("the request fails: no '") + keys::kAccessAutoDelete + "' element";
  }
  return std::string();
}

std::vector<int> rule_lines(ConfigXml& config) {
  std::vector<int> lines;
  for (const Vexil::CDOMElement& alert :
       XmlData::SelectElements(config.GetRootNode(), keys::kAlerts)) {
    try {
      config.parse_alert(alert);
      lines.push_back(line_of(alert));
    } catch (...) {
      // dropped by the service too
    }
  }
  return lines;
}

std::vector<RuleVerdict> try_rules(ConfigXml& config, const struct tm& local,
                                   const AccessFields& fields) {
  const std::vector<AlertInfo>& rules = config.get_alert_list();
  std::vector<int> lines = rule_lines(config);
  std::vector<RuleVerdict> verdicts;
  for (size_t i = 0; i < rules.size(); ++i) {
    const AlertInfo& rule = rules[i];
    RuleVerdict verdict;
    verdict.name = rule.name;
    verdict.line = i < lines.size() ? lines[i] : 0;
    // The verdict is the service's own test; the parts only name the condition that stops it.
    verdict.fires = rule.match(local, fields.user, fields.host, fields.ipaddr, fields.operation,
                               fields.result, fields.share, fields.path);
    if (!verdict.fires) verdict.reason = first_failure(config, rule, local, fields);
    verdicts.push_back(std::move(verdict));
  }
  return verdicts;
}

void dry_run_event(const EventFields& event, ConfigXml& config, const std::string& file,
                   std::ostream& out) {
  RuleFields fields = rule_fields(event);
  struct tm local;
  localtime_r(&event.time, &local);
  out << "event: " << format_time(event.time) << " (" << weekday_name(config, local) << "), user "
      << quoted(fields.user) << ", host " << quoted(fields.host) << ", address "
      << quoted(fields.ipaddr) << ", operation " << quoted(fields.operation) << ", result "
      << quoted(fields.result) << ", share " << quoted(fields.share) << ", path "
      << quoted(fields.path) << "\n";
  std::string stop = reason_no_rule_is_tried(config, fields.share);
  if (!stop.empty()) {
    out << "access log: " << stop << "; no rule is tried\n";
    return;
  }
  out << "access log: share " << quoted(fields.share) << " is logged\n";
  std::vector<RuleVerdict> verdicts = try_rules(config, local, fields);
  int fired = 0;
  for (const RuleVerdict& verdict : verdicts) {
    out << file << ":" << verdict.line << ": rule " << quoted(verdict.name);
    if (verdict.fires) {
      out << ": fires\n";
      ++fired;
    } else {
      out << ": does not fire" << (verdict.reason.empty() ? "" : ": " + verdict.reason) << "\n";
    }
  }
  out << "sarvik-check: " << fired << " of " << verdicts.size()
      << (verdicts.size() == 1 ? " rule fires" : " rules fire") << "\n";
}

}  // namespace sarvik::check
