// Replaying the settings' alert rules over logged access lines.
#include "query/rule_backtest.h"

#include <time.h>

#include <exception>

namespace sarvik::query {

bool RuleBacktest::load(ConfigXml& config, const std::string& settings,
                        const std::vector<std::string>& names, std::string* error) {
  try {
    const std::vector<AlertInfo>& all = config.get_alert_list();
    for (const AlertInfo& rule : all) {
      bool wanted = names.empty();
      for (const std::string& name : names) wanted = wanted || rule.name == name;
      if (wanted) rules.push_back(rule);
    }
  } catch (const std::exception& failure) {
    *error = settings + ": " + failure.what();
    return false;
  }
  for (const std::string& name : names) {
    bool found = false;
    for (const AlertInfo& rule : rules) found = found || rule.name == name;
    if (!found) {
      *error = settings + ": no alert rule is named '" + name + "'";
      return false;
    }
  }
  return true;
}

void RuleBacktest::fire(const AccessColumns& columns, const CivilTime& time, Scratch* scratch,
                        std::vector<const std::string*>* fired) const {
  fired->clear();
  scratch->user.assign(columns.user);
  scratch->host.assign(columns.host);
  scratch->ipaddr.assign(columns.ipaddr);
  scratch->operation.assign(columns.operation);
  scratch->result.assign(brief_result(columns.result));
  scratch->share.assign(columns.share);
  scratch->path.assign(columns.path);
  // What the rule test reads of the time is the hour, the minute and the weekday: those the
  // service's clock showed when it wrote the line.
  const struct tm local = broken_down_time(time);
  for (const AlertInfo& rule : rules) {
    if (rule.match(local, scratch->user, scratch->host, scratch->ipaddr, scratch->operation,
                   scratch->result, scratch->share, scratch->path)) {
      fired->push_back(&rule.name);
    }
  }
}

}  // namespace sarvik::query
