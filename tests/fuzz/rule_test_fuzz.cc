// Fuzz target: the rule test, with any rule and any event.
#include <ctime>
#include <string>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "settings/alert_info.h"

namespace sarvik::fuzzing {
namespace {

constexpr size_t kMaxText = 24;

void take_pattern(FuzzInput& in, AlertInfo::AlertPattern& pattern) {
  pattern.flags = in.take_number<uint32_t>();
  pattern.text = in.take_text(kMaxText);
}

AlertInfo take_rule(FuzzInput& in) {
  AlertInfo rule(in.take_text(kMaxText));
  bool period_not = in.take_bool();
  HourMinute from{in.take_number<int32_t>(), in.take_number<int32_t>()};
  HourMinute to{in.take_number<int32_t>(), in.take_number<int32_t>()};
  rule.set_period(period_not, from, to);
  rule.weekdays = in.take_number<uint32_t>();
  rule.username.flags = in.take_number<uint32_t>();
  for (int n = in.take_byte() % 4; n > 0; --n) rule.usernames.push_back(in.take_text(kMaxText));
  take_pattern(in, rule.hostname);
  take_pattern(in, rule.ipaddr);
  take_pattern(in, rule.result);
  take_pattern(in, rule.sharename);
  take_pattern(in, rule.path);
  for (int n = in.take_byte() % 4; n > 0; --n) {
    std::string operation = in.take_text(kMaxText);
    rule.operations[operation] = in.take_bool();
  }
  return rule;
}

}  // namespace
}  // namespace sarvik::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace sarvik;
  fuzzing::FuzzInput in(data, size);
  const AlertInfo rule = fuzzing::take_rule(in);
  // Any moment, also one that localtime cannot break down.
  time_t time = in.take_number<int64_t>();
  std::string user = in.take_text(fuzzing::kMaxText);
  std::string host = in.take_text(fuzzing::kMaxText);
  std::string ipaddr = in.take_text(fuzzing::kMaxText);
  std::string operation = in.take_text(fuzzing::kMaxText);
  std::string result = in.take_text(fuzzing::kMaxText);
  std::string share = in.take_text(fuzzing::kMaxText);
  std::string path = in.take_rest(fuzzing::kMaxText);

  bool fired = rule.match(time, user, host, ipaddr, operation, result, share, path);
  // The whole test is its conditions in a row; none of them may be skipped or added.
  bool conditions = rule.match_period(time) && rule.match_username(user) &&
                    rule.match_path(host, rule.hostname) && rule.match_path(ipaddr, rule.ipaddr) &&
                    rule.is_operation_enabled(operation) && rule.match_path(result, rule.result) &&
                    rule.match_path(share, rule.sharename) && rule.match_path(path, rule.path);
  if (fired != conditions) fuzzing::fuzz_fail("match differs from its conditions");
  return 0;
}
