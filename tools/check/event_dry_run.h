// The dry run: one access event through the service's handling, as far as the alert rules.
#ifndef SARVIK_TOOLS_CHECK_EVENT_DRY_RUN_H_
#define SARVIK_TOOLS_CHECK_EVENT_DRY_RUN_H_

#include <time.h>

#include <ostream>
#include <string>
#include <vector>

#include "check/event_fields.h"
#include "record/access_fields.h"
#include "settings/config_xml.h"

namespace sarvik::check {

// What one rule makes of an event: whether it fires, and if not, the first condition of the
// rule test that stops it ("operation: ..."; empty when none can be named).
struct RuleVerdict {
  std::string name;
  int line = 0;  // of its "alert" element in the settings file; 0 when unknown
  bool fires = false;
  std::string reason;
};

// The event's fields as the service's access handler normalises them for the rules: the user in
// lower case, the operation with its direction, the result in its brief form, the path without
// its prefix.
AccessFields rule_fields(const EventFields& event);

// Why the access handler ends before it tries any rule for an event on `share` ("'accesslogconf'
// is not enabled: ..."); empty when the rules are tried.
std::string reason_no_rule_is_tried(ConfigXml& config, const std::string& share);

// Every rule the service keeps, in its order, tried with the service's rule test against the
// event at the broken-down local time `local` with the normalised `fields`.
std::vector<RuleVerdict> try_rules(ConfigXml& config, const struct tm& local,
                                   const AccessFields& fields);

// The line in the settings file of each rule the service keeps, in the order of its rule list.
std::vector<int> rule_lines(ConfigXml& config);

// The weekday attribute of the settings ("mon") of a broken-down local time.
std::string weekday_name(const ConfigXml& config, const struct tm& local);

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
