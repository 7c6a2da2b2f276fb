// Raising one alert: the event-log record, the buzzer, the mail and its results per address.
#ifndef SARVIK_ALERT_HANDLE_ALERT_H_
#define SARVIK_ALERT_HANDLE_ALERT_H_

#include <string>
#include <vector>

#include "notice/notice_paths.h"
#include "settings/hardening.h"

namespace sarvik {

// Raises the alert of rule `name` for the batch `lines`: an event-log record with the name and
// the count, the buzzer, then one mail per mail profile that takes system notices, and one
// event-log record per address reached or missed. Raises nothing and never retries: whatever
// fails is dropped, and the lines are gone either way (they stand in the alert log). With no
// profile it prints "handle_alert: no mail send." on standard output. Runs the notice scripts
// one after the other and blocks while they run, each within `limits`; the scripts and the
// notice settings are those of `where`. Called by the alert thread with no lock held.
void handle_alert(const std::string& name, const std::vector<std::string>& lines,
                  const NoticeLimits& limits, const NoticePaths& where);

// One event-log record with `code`, "name" and "mail_address" per entry of `addresses`, in
// order; none for an empty list. Failures of the event log are dropped.
void notify_mail_results(const std::string& name, const std::string& code,
                         const std::vector<std::string>& addresses, const NoticeLimits& limits,
                         const NoticePaths& where);

}  // namespace sarvik

#endif  // SARVIK_ALERT_HANDLE_ALERT_H_
