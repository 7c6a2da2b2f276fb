// Alert evaluation: one logged access event against every rule.
#include "alert/evaluate_alerts.h"

#include <time.h>

#include "logstore/log_kinds.h"
#include "record/record_columns.h"

namespace sarvik {

void evaluate_alerts(time_t time, const AccessFields& fields, const std::string& line,
                     ConfigXml& config, AlertThread& thread, const std::string& state_dir,
                     LineSealer* sealer) {
  const std::vector<AlertInfo>& rules = config.get_alert_list();
  // "ok" stays, and "fail" with the error text in parentheses becomes "fail".
  const std::string result(brief_result(fields.result));
  // The event's local time, once for all rules; a time that cannot be broken down goes through
  // each rule's own conversion.
  struct tm local;
  bool broken_down = !rules.empty() && localtime_r(&time, &local) != nullptr;
  for (const AlertInfo& rule : rules) {
    bool fired = broken_down ? rule.match(local, fields.user, fields.host, fields.ipaddr,
                                          fields.operation, result, fields.share, fields.path)
                             : rule.match(time, fields.user, fields.host, fields.ipaddr,
                                          fields.operation, result, fields.share, fields.path);
    if (!fired) continue;
    // A fresh log per hit, without expiry settings: the alert log keeps all its files.
    LogFile log = make_log_file(kAlertLog, config.get_share_path(), state_dir);
    log.sealer = sealer;
    log.write_line(time, line);  // result ignored: the hit is queued all the same
    thread.add_hit(rule.name, line);
  }
}

}  // namespace sarvik
