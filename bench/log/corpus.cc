// A realistic log volume for the query benchmark: access, system and alert logs.
#include "corpus.h"

#include <sys/stat.h>

#include <stdexcept>

#include "access_events.h"
#include "activity.h"
#include "logstore/path.h"
#include "protocol/request_data.h"
#include "record/access_fields.h"
#include "record/record_lines.h"
#include "system_events.h"
#include "tree_writer.h"
#include "vocabulary.h"

namespace sarvik::corpus {

namespace {

// Independent streams for the parts, so that a change in one part leaves the others' draws.
enum Stream : uint64_t { kVocabulary = 1, kActivity, kEvents, kSystem };

Random stream(uint64_t seed, Stream part) { return Random(seed * 0x100000001B3ULL + part); }

time_t months_before(time_t end, int months) {
  struct tm local = {};
  localtime_r(&end, &local);
  local.tm_mon -= months;
  local.tm_isdst = -1;
  return mktime(&local);
}

// The administrator's rules the alert log stands for: deletions on the finance share, and any
// refusal on the personnel share. A line goes to the alert log once for each rule it fires.
int rules_fired(const AccessFields& fields) {
  bool refused = fields.result.compare(0, 4, "fail") == 0;
  return (fields.share == "finance" && fields.operation == "delete") +
         (fields.share == "hr" && refused);
}

ReqAccessLog request_of(const AccessEvent& event) {
  const Person& person = *event.person;
  const std::string& host = event.laptop ? person.laptop_host : person.host;
  const std::string& ipaddr = event.laptop ? person.laptop_ipaddr : person.ipaddr;
  return ReqAccessLog(person.login.c_str(), host.c_str(), ipaddr.c_str(), event.operation,
                      event.status, event.error_number, event.share->c_str(),
                      event.raw_path.c_str());
}

}  // namespace

CorpusSummary write_corpus(const CorpusOptions& options) {
  if (!path_exists(options.root) && mkdir(options.root.c_str(), 0755) != 0) {
    throw std::runtime_error("cannot make " + options.root);
  }
  for (const LogKind* kind : {&kAccessLog, &kSystemLog, &kAlertLog}) {
    std::string dir = join_path(options.root, kind->subdir);
    if (path_exists(dir)) throw std::runtime_error(dir + " exists already");
  }
  CorpusSummary summary = {};
  summary.end = options.end != 0 ? options.end : time(nullptr);
  summary.start = months_before(summary.end, options.months);

  Random vocabulary_random = stream(options.seed, kVocabulary);
  Vocabulary vocabulary = make_vocabulary(vocabulary_random);
  summary.plan = plan_needles(summary.start, summary.end, options.lines, vocabulary);

  Random activity_random = stream(options.seed, kActivity);
  Random event_random = stream(options.seed, kEvents);
  Activity activity(summary.start, summary.end, options.lines, activity_random);
  AccessEvents events(vocabulary, event_random);
  TreeWriter access(options.root, kAccessLog);
  TreeWriter alerts(options.root, kAlertLog);
  Moment moment;
  for (uint64_t index = 0; activity.next(&moment); ++index) {
    AccessEvent& event = events.next(moment);
    plant_needles(summary.plan, vocabulary, index, moment, event_random, &event);
    AccessFields fields = access_fields(request_of(event), *event.share);
    std::string line = access_line(moment.when, fields);
    access.write_line(moment.when, line);
    for (int fired = rules_fired(fields); fired > 0; --fired) alerts.write_line(moment.when, line);
    count_needles(summary.plan, moment.when, fields, &summary.counts);
  }
  access.finish();
  alerts.finish();

  Random system_random = stream(options.seed, kSystem);
  TreeWriter system(options.root, kSystemLog);
  summary.system_lines = write_system_log(summary.start, summary.end, system_random, &system);
  system.finish();

  summary.access_lines = access.lines();
  summary.access_bytes = access.bytes();
  summary.access_files = access.files();
  summary.alert_lines = alerts.lines();
  return summary;
}

}  // namespace sarvik::corpus
