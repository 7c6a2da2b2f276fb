// Checking the alert rules: rules that are dropped, never fire, or lose parts of themselves.
#include "check/rule_check.h"

#include <algorithm>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "check/xml_lookup.h"
#include "record/record_text.h"
#include "settings/settings_keys.h"

namespace sarvik::check {

namespace {

using Vexil::CDOMElement;
using Pattern = AlertInfo::AlertPattern;

constexpr int64_t kLastMinuteOfDay = 23 * 60 + 59;

// One rule, its element, and where its findings go.
struct RuleContext {
  ConfigXml& config;
  const AlertInfo& rule;
  const CDOMElement& alert;
  FileDiagnostics& out;

  void never_fires(int line, const std::string& why) const {
    out.warning(line, "rule " + quoted(rule.name) + " can never fire: " + why);
  }
};

void check_clock_ranges(const RuleContext& context) {
  for (const char* end : {keys::kPeriodFrom, keys::kPeriodTo}) {
    HourMinute time = XmlData::GetHourMinute(context.alert, end);
    if (time.hour < 0 || time.hour > 24) {
      context.out.warning(nearest_line(context.alert, child_path(end, keys::kHour)),
                          "'hour' " + std::to_string(time.hour) + " is out of range (0 to 24)");
    }
    if (time.minute < 0 || time.minute > 59) {
      context.out.warning(nearest_line(context.alert, child_path(end, keys::kMinute)),
                          "'minute' " + std::to_string(time.minute) + " is out of range (0 to 59)");
    }
  }
}

void check_period(const RuleContext& context) {
  const AlertInfo& rule = context.rule;
  check_clock_ranges(context);
  std::optional<CDOMElement> period = find_element(context.alert, keys::kPeriod);
  if (!period) {
    context.never_fires(line_of(context.alert), "no 'period'");
    return;
  }
  if (rule.weekdays == 0 && !rule.period_not) {
    if (find_element(context.alert, keys::kWeekdays)) {
      context.never_fires(nearest_line(context.alert, keys::kWeekdays),
                          "no weekday of 'weekdays' is \"true\"");
    } else {
      context.never_fires(line_of(*period), "no 'period/weekdays'");
    }
  }
  // The same arithmetic as the rule test: minutes of the day, the end inclusive, no wrap.
  int64_t from = int64_t{rule.from_hour} * 60 + rule.from_minute;
  int64_t to = int64_t{rule.to_hour} * 60 + rule.to_minute;
  std::string span = "'period' from " + clock_text(rule.from_hour, rule.from_minute) + " to " +
                     clock_text(rule.to_hour, rule.to_minute);
  std::string empty_span;
  if (from > to) {
    empty_span = span + " ends before it starts (there is no wrap over midnight)";
  } else if (from > kLastMinuteOfDay || to < 0) {
    empty_span = span + " lies outside the day";
  }
  uint32_t week = 0;
  for (const auto& [day, bit] : context.config.weekday_bits) week |= uint32_t{1} << bit;
  if (!empty_span.empty() && !rule.period_not) {
    context.never_fires(line_of(*period), empty_span);
  } else if (!empty_span.empty()) {
    context.out.note(line_of(*period),
                     empty_span + ": with not=\"true\" the period test passes at all times");
  } else if (rule.period_not && (rule.weekdays & week) == week && from <= 0 &&
             to >= kLastMinuteOfDay) {
    context.never_fires(line_of(*period), "'period' not=\"true\" excludes every moment");
  }
}

void check_users(const RuleContext& context) {
  uint32_t flags = context.rule.username.flags;
  bool everybody = (flags & Pattern::ALERT_FLAG_ALL) != 0;
  bool inverted = (flags & Pattern::ALERT_FLAG_NOT) != 0;
  int line = nearest_line(context.alert, keys::kUserNameList);
  if (everybody && inverted) {
    context.never_fires(line, "'usernamelist' has both all=\"true\" and not=\"true\"");
  } else if (!everybody && !inverted && context.rule.usernames.empty()) {
    context.never_fires(line, find_element(context.alert, keys::kUserNameList)
                                  ? "'usernamelist' names no user"
                                  : "no 'usernamelist'");
  }
}

void check_operations(const RuleContext& context) {
  std::list<CDOMElement> operations = XmlData::SelectElements(context.alert, keys::kOperations);
  std::map<std::string, int> first_lines;
  size_t position = 0;
  for (const CDOMElement& operation : operations) {
    ++position;
    std::map<std::string, std::string> attributes = attributes_of(operation);
    auto type = attributes.find(keys::kType);
    if (type == attributes.end()) {
      size_t behind = operations.size() - position;
      context.out.warning(
          line_of(operation),
          behind == 0
              ? "'operation' without 'type' is not read"
              : "'operation' without 'type' ends the list: the " + std::to_string(behind) +
                    (behind == 1 ? " operation" : " operations") + " behind it are not read");
      break;
    }
    auto [first, fresh] = first_lines.emplace(type->second, line_of(operation));
    if (!fresh) {
      bool on = context.rule.operations.at(type->second);
      context.out.warning(line_of(operation),
                          "'operation' type=" + quoted(type->second) + " again (first at line " +
                              std::to_string(first->second) + "): the last one wins, so it is " +
                              (on ? "enabled" : "disabled"));
    }
  }
  const std::map<std::string, bool>& read = context.rule.operations;
  if (std::any_of(read.begin(), read.end(), [](const auto& entry) { return entry.second; })) {
    return;
  }
  int line = nearest_line(context.alert, keys::kOperations);
  if (operations.empty()) {
    context.never_fires(line, "no 'operationlist/operation'");
  } else if (read.empty()) {
    context.never_fires(line, "no operation of 'operationlist' is read");
  } else {
    context.never_fires(nearest_line(context.alert, parent_path(keys::kOperations)),
                        "no operation of 'operationlist' has enable=\"true\"");
  }
}

void check_patterns(const RuleContext& context) {
  const AlertInfo& rule = context.rule;
  for (const char* key : {keys::kHostName, keys::kIpAddr}) {
    std::optional<CDOMElement> element = find_element(context.alert, key);
    if (element && !text_of(*element) && attributes_of(*element)[keys::kNot] == keys::kTrue) {
      context.out.warning(line_of(*element), std::string("'") + key +
                                                 "' not=\"true\" has no pattern: the condition "
                                                 "is absent and 'not' is ignored");
    }
  }
  if (!rule.result.text.empty() && !rule.match_path(kResultOkWord, rule.result) &&
      !rule.match_path(kResultFailWord, rule.result)) {
    context.never_fires(nearest_line(context.alert, keys::kResult),
                        "'result' " + quoted(rule.result.text) + " matches neither " +
                            quoted(kResultOkWord) + " nor " + quoted(kResultFailWord));
  }
  CDOMElement root = context.config.GetRootNode();
  if (rule.sharename.text.empty() || XmlData::GetEnable(root, keys::kShareList, keys::kAll)) {
    return;
  }
  std::vector<std::string> shares = context.config.get_share_names();
  bool any_logged = false;
  bool any_matches = false;
  for (const std::string& share : shares) {
    if (!is_logged_share(share, context.config)) continue;
    any_logged = true;
    any_matches = any_matches || rule.match_path(share, rule.sharename);
  }
  if (any_logged && !any_matches) {
    context.never_fires(
        nearest_line(context.alert, keys::kShareName),
        "'sharename' " + quoted(rule.sharename.text) + " matches no share of 'sharelist'");
  }
}

std::optional<AlertInfo> parse(ConfigXml& config, const CDOMElement& alert) {
  try {
    return config.parse_alert(alert);
  } catch (...) {
    return std::nullopt;  // dropped, as the service drops it
  }
}

}  // namespace

void check_rules(ConfigXml& config, FileDiagnostics& out) {
  std::map<std::string, int> first_lines;
  for (const CDOMElement& alert : XmlData::SelectElements(config.GetRootNode(), keys::kAlerts)) {
    std::optional<AlertInfo> rule = parse(config, alert);
    if (!rule) {
      out.warning(nearest_line(alert, keys::kAlertName), "rule without 'name' text is dropped");
      continue;
    }
    auto [first, fresh] = first_lines.emplace(rule->name, line_of(alert));
    if (!fresh) {
      out.warning(line_of(alert), "another rule named " + quoted(rule->name) + " (first at line " +
                                      std::to_string(first->second) +
                                      "): the two share one tally and one mail");
    }
    RuleContext context{config, *rule, alert, out};
    check_period(context);
    check_users(context);
    check_operations(context);
    check_patterns(context);
  }
}

}  // namespace sarvik::check
