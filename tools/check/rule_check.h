// Checking the alert rules: rules that are dropped, never fire, or lose parts of themselves.
#ifndef SARVIK_TOOLS_CHECK_RULE_CHECK_H_
#define SARVIK_TOOLS_CHECK_RULE_CHECK_H_

#include "check/diagnostic.h"
#include "settings/config_xml.h"

namespace sarvik::check {

// Reports, for every "alertlist/alert" of the loaded `config`: a rule that the service drops,
// each reason why a rule can never fire, operations lost or overridden, times out of range,
// and two rules of one name. Each rule is read by the service's own parse_alert and tested with
// its own rule test. Main thread only.
void check_rules(ConfigXml& config, FileDiagnostics& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_RULE_CHECK_H_
