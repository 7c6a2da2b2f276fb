// Alert evaluation: one logged access event against every rule.
#ifndef SARVIK_ALERT_EVALUATE_ALERTS_H_
#define SARVIK_ALERT_EVALUATE_ALERTS_H_

#include <ctime>
#include <string>

#include "alert/alert_thread.h"
#include "settings/config_xml.h"

namespace sarvik {

// Tries the event against every rule in document order, without stopping at a hit. Each hit
// writes `line` to the alert log at once (a line that cannot be written is not kept) and queues
// it in the tally of the rule's name, which wakes the alert thread. `time` is the record's time,
// the one formatted into `line`; `result` is "ok" or "fail". The alert log never expires.
// Raises CXMLError for missing settings: the hits before stand, the rules after are not tried.
// Main thread.
void evaluate_alerts(time_t time, const std::string& username, const std::string& hostname,
                     const std::string& ipaddr, const std::string& operation,
                     const std::string& result, const std::string& sharename,
                     const std::string& path, const std::string& line, ConfigXml& config,
                     AlertThread& thread);

}  // namespace sarvik

#endif  // SARVIK_ALERT_EVALUATE_ALERTS_H_
