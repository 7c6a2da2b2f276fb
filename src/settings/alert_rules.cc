// The service's settings: the alert rules, parsed from "alertlist/alert".
#include "settings/config_xml.h"
#include "settings/settings_keys.h"

namespace sarvik {

using Vexil::CDOMElement;
using Pattern = AlertInfo::AlertPattern;

namespace {

// The text of the element at `xpath`; raises when it is missing or has no text.
std::string text_of(const CDOMElement& parent, const char* xpath) {
  return CDOMElement(parent.SelectSingleNode(xpath)).GetText().raw();
}

// A pattern with the inversion of attribute "not": only "hostname" and "ipaddr" have one. A
// missing element or text leaves the condition absent, and then "not" is not read.
void read_invertible_pattern(const CDOMElement& alert, const char* xpath, Pattern& pattern) {
  std::string text = text_of(alert, xpath);
  Pattern::set_flag(pattern.flags, XmlData::GetEnable(alert, xpath, keys::kNot),
                    Pattern::ALERT_FLAG_NOT);
  pattern.text = text;
}

}  // namespace

const std::vector<AlertInfo>& ConfigXml::get_alert_list() {
  if (!alerts.empty()) return alerts;
  // A document that gave no rule gives none again until it changes.
  Kept& values = kept_values();
  if (values.no_rules) return alerts;
  for (const CDOMElement& element : SelectElements(GetRootNode(), keys::kAlerts)) {
    try {
      alerts.push_back(parse_alert(element));
    } catch (...) {
      // a rule without a name does not exist
    }
  }
  values.no_rules = alerts.empty();
  return alerts;
}

// Each guarded step below absorbs its own failure and leaves its fields at their defaults; a
// rule reports a fault only by not working.
AlertInfo ConfigXml::parse_alert(CDOMElement alert) {
  AlertInfo rule(text_of(alert, keys::kAlertName));
  try {
    HourMinute to = GetHourMinute(alert, keys::kPeriodTo);
    HourMinute from = GetHourMinute(alert, keys::kPeriodFrom);
    rule.set_period(GetEnable(alert, keys::kPeriod, keys::kNot), from, to);
    CDOMElement weekdays = alert.SelectSingleNode(keys::kWeekdays);
    for (const auto& [day, bit] : weekday_bits) {
      if (GetEnable(weekdays, keys::kSelf, day)) rule.weekdays |= 1u << bit;
    }
  } catch (...) {
  }
  try {
    std::vector<Glib::ustring> names = GetTextList(alert, keys::kUserNames);
    bool inverted = GetEnable(alert, keys::kUserNameList, keys::kNot);
    bool everybody = GetEnable(alert, keys::kUserNameList, keys::kAll);
    Pattern::set_flag(rule.username.flags, everybody, Pattern::ALERT_FLAG_ALL);
    Pattern::set_flag(rule.username.flags, inverted, Pattern::ALERT_FLAG_NOT);
    rule.usernames.assign(names.begin(), names.end());
  } catch (...) {
  }
  try {
    read_invertible_pattern(alert, keys::kHostName, rule.hostname);
  } catch (...) {
  }
  try {
    read_invertible_pattern(alert, keys::kIpAddr, rule.ipaddr);
  } catch (...) {
  }
  // These three have no "not": an attribute of that name on them is not read, on purpose.
  try {
    rule.result.text = text_of(alert, keys::kResult);
  } catch (...) {
  }
  try {
    rule.sharename.text = text_of(alert, keys::kShareName);
  } catch (...) {
  }
  try {
    rule.path.text = text_of(alert, keys::kPath);
  } catch (...) {
  }
  // An operation without "type" ends the list there: those before it stay, those after it are
  // not read. A type given twice takes its last value.
  try {
    for (const CDOMElement& operation : SelectElements(alert, keys::kOperations)) {
      bool enabled = GetEnable(operation, keys::kSelf, keys::kEnable);
      rule.operations[operation.GetAttributeValue(keys::kType).raw()] = enabled;
    }
  } catch (...) {
  }
  return rule;
}

}  // namespace sarvik
