// The two rsyslog configurations of the forwarding, filled in from the packaged templates.
#ifndef SARVIK_TOOLS_FORWARDING_FORWARDING_CONFIGS_H_
#define SARVIK_TOOLS_FORWARDING_FORWARDING_CONFIGS_H_

#include <string>

#include "forwarding/config_values.h"

namespace sarvik::forwarding {

// The port of the collector when none is given, for plain TCP and RELP alike.
inline constexpr int kDefaultPort = 10514;
// Where the sender keeps its read positions and queue: the state directory that the unit
// sarvik-forwarding.service gives its rsyslogd.
inline constexpr char kDefaultSenderWorkDir[] = "/var/lib/sarvik-forwarding";
// Where the collector writes its files, and where it keeps its queue when it stops (the work
// directory of Debian's rsyslog).
inline constexpr char kDefaultCollectorDir[] = "/var/log/sarvik";
inline constexpr char kDefaultCollectorWorkDir[] = "/var/spool/rsyslog";

struct SenderOptions {
  std::string log_volume;  // the settings' share/path
  std::string work_dir = kDefaultSenderWorkDir;
  CollectorAddress collector;
  bool relp = false;  // RELP instead of plain TCP
};

struct CollectorOptions {
  int port = kDefaultPort;
  std::string output_dir = kDefaultCollectorDir;
  std::string work_dir = kDefaultCollectorWorkDir;
  bool relp = false;
};

// The configuration of the sender's rsyslogd; the packaged sarvik-sender.conf with its
// placeholders filled in. False with the reason in `why` when a path cannot stand in it.
bool sender_config(const SenderOptions& options, std::string* config, std::string* why);

// The collector's part of an rsyslogd configuration; the packaged sarvik-collector.conf with
// its placeholders filled in. False with the reason in `why` when a path cannot stand in it.
bool collector_config(const CollectorOptions& options, std::string* config, std::string* why);

}  // namespace sarvik::forwarding

#endif  // SARVIK_TOOLS_FORWARDING_FORWARDING_CONFIGS_H_
