// Alert evaluation: one logged access event against every rule.
#ifndef SARVIK_ALERT_EVALUATE_ALERTS_H_
#define SARVIK_ALERT_EVALUATE_ALERTS_H_

#include <ctime>
#include <string>

#include "alert/alert_thread.h"
#include "logstore/line_sealer.h"
#include "record/access_fields.h"
#include "settings/config_xml.h"

namespace sarvik {

// Tries the access record `fields`, logged at `time` as `line`, against every rule in document
// order, without stopping at a hit. The rules see the fields as logged, but the result in its
// brief form, "ok" or "fail", without the error text. Each hit writes `line` to the alert log at
// once (a line that cannot be written is not kept) and queues it in the tally of the rule's
// name, which wakes the alert thread. The alert log never expires. Raises CXMLError for missing
// settings: the hits before stand, the rules after are not tried. The alert log keeps its state
// files in `state_dir` (the service's is paths::kStateDir), and its lines are sealed by
// `sealer` unless that is null. Main thread.
void evaluate_alerts(time_t time, const AccessFields& fields, const std::string& line,
                     ConfigXml& config, AlertThread& thread, const std::string& state_dir,
                     LineSealer* sealer);

}  // namespace sarvik

#endif  // SARVIK_ALERT_EVALUATE_ALERTS_H_
