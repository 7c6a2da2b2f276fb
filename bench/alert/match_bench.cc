// The rule test of one access event against 100 rules that do not fire: a quarter each fail at
// the weekday, the user list, the operation and the path, the last condition.
#include <benchmark/benchmark.h>

#include <time.h>

#include <string>
#include <vector>

#include "settings/alert_info.h"

namespace sarvik {
namespace {

using Pattern = AlertInfo::AlertPattern;

std::vector<AlertInfo> HundredRules() {
  std::vector<AlertInfo> rules;
  for (int i = 0; i < 100; ++i) {
    AlertInfo rule("rule" + std::to_string(i));
    rule.set_period(false, HourMinute{0, 0}, HourMinute{0, 0});
    rule.weekdays = 0x7f;
    rule.username.flags = Pattern::ALERT_FLAG_ALL;
    rule.operations["open_read"] = true;
    switch (i % 4) {
      case 0:
        rule.weekdays = 0;
        break;
      case 1:
        rule.username.flags = 0;
        rule.usernames = {"Bob" + std::to_string(i), "Carol", "Dave"};
        break;
      case 2:
        rule.operations = {{"delete", true}, {"rename", true}};
        break;
      case 3:
        rule.hostname.text = "pc*";
        rule.sharename.text = "docs";
        rule.path.text = "*secret" + std::to_string(i) + "*";
        break;
    }
    rules.push_back(rule);
  }
  return rules;
}

void BM_MatchHundredRulesNoneFires(benchmark::State& state) {
  std::vector<AlertInfo> rules = HundredRules();
  const std::string user = "alice", host = "pc01", ip = "192.0.2.7", operation = "open_read",
                    result = "ok", share = "docs", path = "reports/2017/q1.txt";
  time_t when = 1488630896;
  for (auto _ : state) {
    int fired = 0;
    for (const AlertInfo& rule : rules) {
      fired += rule.match(when, user, host, ip, operation, result, share, path) ? 1 : 0;
    }
    benchmark::DoNotOptimize(fired);
  }
}
BENCHMARK(BM_MatchHundredRulesNoneFires);

// As the evaluation does it: the event's local time once, for all rules.
void BM_MatchHundredRulesOneConversion(benchmark::State& state) {
  std::vector<AlertInfo> rules = HundredRules();
  const std::string user = "alice", host = "pc01", ip = "192.0.2.7", operation = "open_read",
                    result = "ok", share = "docs", path = "reports/2017/q1.txt";
  time_t when = 1488630896;
  for (auto _ : state) {
    struct tm local;
    localtime_r(&when, &local);
    int fired = 0;
    for (const AlertInfo& rule : rules) {
      fired += rule.match(local, user, host, ip, operation, result, share, path) ? 1 : 0;
    }
    benchmark::DoNotOptimize(fired);
  }
}
BENCHMARK(BM_MatchHundredRulesOneConversion);

}  // namespace
}  // namespace sarvik
