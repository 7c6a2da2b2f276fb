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

// The benchmark's access event, as the evaluation receives it.
struct Event {
  std::string user = "alice", host = "pc01", ip = "192.0.2.7", operation = "open_read",
              result = "ok", share = "docs", path = "reports/2017/q1.txt";
  time_t when = 1488630896;
};

// As match(time_t, ...) is called by itself: one conversion of the time per rule.
void BM_MatchHundredRulesNoneFires(benchmark::State& state) {
  std::vector<AlertInfo> rules = HundredRules();
  Event e;
  for (auto _ : state) {
    int fired = 0;
    for (const AlertInfo& rule : rules) {
      fired += rule.match(e.when, e.user, e.host, e.ip, e.operation, e.result, e.share, e.path);
    }
    benchmark::DoNotOptimize(fired);
  }
}
BENCHMARK(BM_MatchHundredRulesNoneFires);

// As the evaluation does it: the event's local time once, for all rules.
void BM_MatchHundredRulesOneConversion(benchmark::State& state) {
  std::vector<AlertInfo> rules = HundredRules();
  Event e;
  for (auto _ : state) {
    struct tm local;
    localtime_r(&e.when, &local);
    int fired = 0;
    for (const AlertInfo& rule : rules) {
      fired += rule.match(local, e.user, e.host, e.ip, e.operation, e.result, e.share, e.path);
    }
    benchmark::DoNotOptimize(fired);
  }
}
BENCHMARK(BM_MatchHundredRulesOneConversion);

}  // namespace
}  // namespace sarvik
