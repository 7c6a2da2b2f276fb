// The fixed places of the service on the appliance: socket, settings, state, scripts.
#ifndef SARVIK_SUPPORT_FIXED_PATHS_H_
#define SARVIK_SUPPORT_FIXED_PATHS_H_

namespace sarvik::paths {

// Unix-domain stream socket on which clients send their records.
inline constexpr char kSocket[] = "/tmp/sarvik";
// The service's own settings file, read without a lock.
inline constexpr char kSettings[] = "/mnt/data/xmlconf/config-sarvik.xml";
// The mail profiles, shared with the appliance's administration tools under a lock file.
inline constexpr char kNoticeSettings[] = "/mnt/data/xmlconf/config-notice.xml";
inline constexpr char kNoticeSettingsLock[] = "/var/lock/config-notice.xml.lock";
// Directory of the logs' state files (current file name and line count).
inline constexpr char kStateDir[] = "/mnt/data/conf/sarvik";
// The sealing state below it, root's alone: the evolving keys and the seals of the lines.
inline constexpr char kSealDir[] = "/mnt/data/conf/sarvik/seal";
// The appliance's notification scripts: XML request on stdin, XML reply on stdout.
inline constexpr char kEventLogScript[] = "/mnt/data/bin/orl_eventlog.py";
inline constexpr char kBuzzerScript[] = "/mnt/data/bin/orl_buzzer.py";
inline constexpr char kMailScript[] = "/mnt/data/bin/orl_mailsend.py";

}  // namespace sarvik::paths

#endif  // SARVIK_SUPPORT_FIXED_PATHS_H_
