// Alert evaluation: one logged access event against every rule.
#include "alert/evaluate_alerts.h"

#include <time.h>

#include "logstore/log_kinds.h"
#include "support/fixed_paths.h"

namespace sarvik {

void evaluate_alerts(time_t time, const std::string& username, const std::string& hostname,
                     const std::string& ipaddr, const std::string& operation,
                     const std::string& result, const std::string& sharename,
                     const std::string& path, const std::string& line, ConfigXml& config,
                     AlertThread& thread) {
  const std::vector<AlertInfo>& rules = config.get_alert_list();
  // The event's local time, once for all rules; a time that cannot be broken down goes through
  // each rule's own conversion.
  struct tm local;
  bool broken_down = !rules.empty() && localtime_r(&time, &local) != nullptr;
  for (const AlertInfo& rule : rules) {
    bool fired =
        broken_down
            ? rule.match(local, username, hostname, ipaddr, operation, result, sharename, path)
            : rule.match(time, username, hostname, ipaddr, operation, result, sharename, path);
    if (!fired) continue;
    // A fresh log per hit, without expiry settings: the alert log keeps all its files.
    LogFile log = make_log_file(kAlertLog, config.get_share_path(), paths::kStateDir);
    log.write_line(time, line);  // result ignored: the hit is queued all the same
    thread.add_hit(rule.name, line);
  }
}

}  // namespace sarvik
