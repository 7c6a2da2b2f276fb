// Checking the optional limits of the service's settings.
#include "check/hardening_check.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <string>

#include "check/xml_lookup.h"
#include "settings/hardening.h"
#include "settings/settings_keys.h"

namespace sarvik::check {

namespace {

// One limit: where it stands, whether the service has it on, and what is open without it.
struct Limit {
  const char* xpath;
  bool on;
  const char* open_without;
};

}  // namespace

void check_hardening(const Vexil::CDOMElement& root, FileDiagnostics& out) {
  const Hardening read = read_hardening(root);
  const Limit limits[] = {
      {keys::kClientTimeout, read.client_seconds > 0,
       "a client that connects and sends nothing holds up all logging until it goes"},
      {keys::kScriptTimeout, read.notice.script_seconds > 0,
       "a notice script that hangs holds up every later alert while the waiting hits grow"},
      {keys::kScriptReplyLimit, read.notice.reply_bytes > 0,
       "a notice script's reply is read whole into memory, however large"},
      {keys::kLockTimeout, read.notice.lock_seconds > 0,
       "any local user who holds the notice settings' lock stops all mail"},
      {keys::kSafeText, read.notice.safe_text,
       "a record with control bytes or bytes that are no UTF-8 makes its mail request malformed, "
       "and its whole batch is not mailed"},
  };
  for (const Limit& limit : limits) {
    if (limit.on) continue;
    const std::string what = limit.xpath == std::string(keys::kSafeText)
                                 ? std::string("'") + limit.xpath + "' is not enabled: "
                                 : std::string("'") + limit.xpath + "' sets no limit: ";
    out.warning(nearest_line(root, limit.xpath), what + limit.open_without);
  }
}

void check_sealing(const Vexil::CDOMElement& root, const std::string& seal_dir,
                   FileDiagnostics& out) {
  if (!find_element(root, keys::kSeal)) return;
  const int line = nearest_line(root, keys::kSeal);
  const std::string seal = std::string("'") + keys::kSeal + "'";
  if (!read_hardening(root).seal) {
    out.note(line, seal +
                       " is off: the lines are not sealed, so nothing proves later which "
                       "were changed");
    return;
  }
  // The key file by the name the service opens; only root can look into the state.
  struct stat status;
  if (lstat((seal_dir + "/key").c_str(), &status) == 0) {
    out.note(line, seal + " is on: the service seals every line it writes in " + seal_dir +
                       ", and 'sarvik-log --verify' tells which lines were changed, dropped or "
                       "forged since");
  } else if (errno == ENOENT) {
    out.warning(line, seal + " is on, but there is no sealing key in " + seal_dir +
                          ": lines are written unsealed until 'sarvik-log --setup-keys' makes "
                          "one and the service reloads");
  } else {
    out.note(line, seal + " is on; whether its key is set up in " + seal_dir +
                       " cannot be seen here (" + strerror(errno) + "): run sarvik-check as root");
  }
}

}  // namespace sarvik::check
