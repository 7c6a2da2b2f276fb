// The dry run: one access event through the service's handling, as far as the alert rules.
#ifndef SARVIK_TOOLS_CHECK_EVENT_DRY_RUN_H_
#define SARVIK_TOOLS_CHECK_EVENT_DRY_RUN_H_

#include <ostream>
#include <string>

#include "check/event_fields.h"
#include "settings/config_xml.h"

namespace sarvik::check {

// Builds the request that the file service would send for `event` and takes it through the
// service's own steps with the loaded `config`: the access log's switch, the share filter, the
// settings whose absence makes the request fail, the normalised fields, then every rule in
// order with the service's rule test. Prints the event as the rules see it, whether the share is
// logged, and for each rule (at `file`:line) "fires" or the first condition that stops it; no
// rule is tried where the service tries none. Nothing is written to any log. Main thread only.
void dry_run_event(const EventFields& event, ConfigXml& config, const std::string& file,
                   std::ostream& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_EVENT_DRY_RUN_H_
