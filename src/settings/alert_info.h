// One alert rule as read from the settings, and the test whether an access event fires it.
#ifndef SARVIK_SETTINGS_ALERT_INFO_H_
#define SARVIK_SETTINGS_ALERT_INFO_H_

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "settings/hour_minute.h"

namespace sarvik {

// One parsed rule, a value stored by copy in the settings object's rule list. It holds no
// run-time state and is not changed after parsing. Belongs to the main thread; no lock.
class AlertInfo {
 public:
  // One text condition: a wildcard pattern and its flags. An empty `text` means the condition
  // is absent and accepts everything.
  struct AlertPattern {
    enum : uint32_t {
      ALERT_FLAG_ALL = 1,  // the user test counts every name as found
      ALERT_FLAG_NOT = 2,  // the condition's outcome is inverted
    };

    // Sets `bits` in `flags` when `on` is true, clears them otherwise.
    static void set_flag(uint32_t& flags, bool on, uint32_t bits);

    uint32_t flags = 0;
    std::string text;
  };

  // A rule called `name` with every other field at its default; such a rule never fires.
  explicit AlertInfo(const std::string& name);
  AlertInfo(const AlertInfo&) = default;
  AlertInfo& operator=(const AlertInfo&) = default;
  virtual ~AlertInfo();

  // Stores the span. An end of 0:00 is stored as 24:00, the end of the day; any other end, 0:15
  // for instance, is stored as it stands.
  void set_period(bool period_not, HourMinute from, HourMinute to);

  // The rule test, defined in alert_match.cc. All are pure functions of the record, the
  // arguments and the local time zone, so any thread may call them on a rule it can read.

  // True when the event fires the rule: period, user, host, address, operation, result, share
  // and path, in this order, the first failing condition ending the test. `username` is expected
  // in lower case, `result` as "ok" or "fail".
  bool match(time_t time, const std::string& username, const std::string& hostname,
             const std::string& ipaddr, const std::string& operation, const std::string& result,
             const std::string& sharename, const std::string& path) const;
  // The same test with the event's local time already broken down (what localtime gives for
  // it), so that one conversion serves every rule of an event.
  bool match(const struct tm& local, const std::string& username, const std::string& hostname,
             const std::string& ipaddr, const std::string& operation, const std::string& result,
             const std::string& sharename, const std::string& path) const;
  // The period test alone: inside the span on an enabled weekday, inverted by `period_not`.
  bool match_period(time_t time) const;
  bool match_period(const struct tm& local) const;
  // The user test: `usernames` folded to lower case against `username` as given, no wildcards.
  bool match_username(const std::string& username) const;
  // The star matcher on bytes, ignoring ASCII case. A trailing star needs at least one more
  // text byte; any other star stands for zero or more bytes.
  bool match_wildcard(const char* text_begin, const char* text_end, const char* pattern_begin,
                      const char* pattern_end) const;
  // True for an empty pattern; otherwise the wildcard test, inverted by ALERT_FLAG_NOT.
  bool match_path(const std::string& path, const AlertPattern& pattern) const;
  // True when `operations` holds `operation`, byte for byte, with the value true.
  bool is_operation_enabled(const std::string& operation) const;
  // Every condition but the period, in the order of match.
  bool match_fields(const std::string& username, const std::string& hostname,
                    const std::string& ipaddr, const std::string& operation,
                    const std::string& result, const std::string& sharename,
                    const std::string& path) const;

  std::string name;
  bool period_not = false;
  // Bit n set: weekday n (0 Sunday to 6 Saturday) is in the period.
  uint32_t weekdays = 0;
  int32_t from_hour = 0;
  int32_t from_minute = 0;
  // 0 until set_period, which turns an end of 0:00 into 24:00.
  int32_t to_hour = 0;
  int32_t to_minute = 0;
  // Only its flags are used; the names are in `usernames`.
  AlertPattern username;
  std::vector<std::string> usernames;
  AlertPattern hostname;
  AlertPattern ipaddr;
  AlertPattern result;
  AlertPattern sharename;
  AlertPattern path;
  std::map<std::string, bool> operations;
};

}  // namespace sarvik

#endif  // SARVIK_SETTINGS_ALERT_INFO_H_
