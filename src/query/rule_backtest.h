// Replaying the settings' alert rules over logged access lines, with the service's own rule test.
#ifndef SARVIK_QUERY_RULE_BACKTEST_H_
#define SARVIK_QUERY_RULE_BACKTEST_H_

#include <string>
#include <vector>

#include "record/record_columns.h"
#include "record/record_time.h"
#include "settings/alert_info.h"
#include "settings/config_xml.h"

namespace sarvik::query {

// The rules to replay, parsed from a settings file by the service's own parser. Immutable after
// load; any thread may test lines, each with its own Scratch.
class RuleBacktest {
 public:
  // Texts of one line in the form the rule test takes them, reused from line to line so that a
  // test allocates nothing once they have grown.
  struct Scratch {
    std::string user, host, ipaddr, operation, result, share, path;
  };

  // Takes the rules of the loaded settings `config` (read from the file `settings`): all of
  // them when `names` is empty, else those of these names (every rule of a name, in the file's
  // order). False with a reason in `error` when a name has no rule.
  bool load(ConfigXml& config, const std::string& settings, const std::vector<std::string>& names,
            std::string* error);

  // The names of the rules that fire for the line, in the order of the file, into `fired`
  // (emptied first). The line's logged time stands for the event's time, its result word in the
  // brief form the service gives the rules; the other fields are taken as logged.
  void fire(const AccessColumns& columns, const CivilTime& time, Scratch* scratch,
            std::vector<const std::string*>* fired) const;

  size_t size() const { return rules.size(); }

 private:
  std::vector<AlertInfo> rules;
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_RULE_BACKTEST_H_
