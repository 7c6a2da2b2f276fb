// Requests to the notification scripts: event log and buzzer, and the exchange under them.
#ifndef SARVIK_NOTICE_NOTICE_REQUEST_H_
#define SARVIK_NOTICE_NOTICE_REQUEST_H_

#include <map>
#include <string>

#include "notice/notice_paths.h"
#include "settings/hardening.h"

namespace sarvik {

// Names a notification script, started with no arguments beyond its own path, and the limits
// that its runs keep (all off by default).
struct NoticeScript {
  explicit NoticeScript(const std::string& script_path, const NoticeLimits& limits = {})
      : script_path(script_path), limits(limits) {}

  std::string script_path;
  NoticeLimits limits;
};

// `text` with '&', '<' and '>' escaped; every other byte, quotes included, stays. Fit for
// element text, not for an attribute.
std::string escape_xml(const std::string& text);
// One argument element per pair, in ascending order of the keys; keys as they stand, values
// escaped.
std::string make_args(const std::map<std::string, std::string>& args);
// make_args inside an argument list; empty, with no list element, when `args` is empty.
std::string make_arglist(const std::map<std::string, std::string>& args);

// Judges the reply of the script at `script_path`: returns when `reply` is an XML document whose
// first "entrylist/entry" below the root has "result" exactly "0", and raises CmdExecError with
// the path and ": response invalid!!" otherwise (a malformed reply, a missing element or
// attribute and any other result alike).
void judge_reply(const std::string& script_path, const std::string& reply);

// Writes a request holding `entry` to the script's standard input and returns the whole reply.
// Raises CmdExecError: as the command runner does when the script cannot be run or ends with a
// non-zero status (then the reply is not looked at), and with the path and ": response
// invalid!!" when the reply is not an XML document whose first "entrylist/entry" below the root
// has "result" exactly "0". Blocks without a time limit while the script runs, unless the
// script's limits set one; a script killed for its time or the size of its reply raises as one
// that cannot be run. With the limits' safe_text, the request carries only text that XML 1.0
// can (see xml_safe_text).
std::string send_request(const NoticeScript& script, const std::string& entry);
// An event-log record with `code` (not escaped) and `args`; raises as send_request.
std::string request_eventlog(const NoticeScript& script, const std::string& code,
                             const std::map<std::string, std::string>& args);
// The buzzer plays kMelodies[`melody`]; the index must be 0 or 1 and is not tested. Raises as
// send_request.
std::string request_buzzer(const NoticeScript& script, int melody);

// request_eventlog and request_buzzer on the scripts of `where` (the service's are
// appliance_notice_paths()), run within `limits`; every failure is dropped without a trace.
void notify_eventlog(const std::string& code, const std::map<std::string, std::string>& args,
                     const NoticeLimits& limits, const NoticePaths& where);
void notify_buzzer(int melody, const NoticeLimits& limits, const NoticePaths& where);

}  // namespace sarvik

#endif  // SARVIK_NOTICE_NOTICE_REQUEST_H_
