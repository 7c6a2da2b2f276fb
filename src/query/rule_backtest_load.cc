// Replaying the settings' alert rules: taking them from loaded settings.
#include <exception>

#include "query/rule_backtest.h"

namespace sarvik::query {

// Apart from the rule test, so that a program that never reads the settings itself does not
// link their reading code.
bool RuleBacktest::load(ConfigXml& config, const std::string& settings,
                        const std::vector<std::string>& names, std::string* error) {
  std::vector<AlertInfo> all;
  try {
    all = config.get_alert_list();
  } catch (const std::exception& failure) {
    *error = settings + ": " + failure.what();
    return false;
  }
  return take(all, settings, names, error);
}

}  // namespace sarvik::query
