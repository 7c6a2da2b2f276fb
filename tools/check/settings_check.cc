// Checking the service's settings file as a whole.
#include "check/settings_check.h"

#include <string>
#include <vector>

#include "check/document_load.h"
#include "check/hardening_check.h"
#include "check/rule_check.h"
#include "check/schema_check.h"
#include "check/settings_schema.h"
#include "check/xml_lookup.h"
#include "settings/config_xml.h"
#include "settings/settings_keys.h"
#include "support/fixed_paths.h"

namespace sarvik::check {

namespace {

using Vexil::CDOMElement;

// The two logs that have settings of their own, by their GetAutoDelete kind.
struct LogSwitch {
  AutoDeleteKind kind;
  const char* conf;
  const char* autodelete;
  const char* records;
};
constexpr LogSwitch kLogs[] = {
    {kSystemLogExpiry, keys::kEventLogConf, keys::kEventAutoDelete, "system record"},
    {kAccessLogExpiry, keys::kAccessLogConf, keys::kAccessAutoDelete, "access record"},
};

constexpr char kUnloadable[] =
    "the service does not start with this file; a reload to it leaves every request unanswered";

bool log_enabled(const CDOMElement& root, const LogSwitch& log) {
  return XmlData::GetEnable(root, log.conf, keys::kEnable);
}

void check_log_volume(ConfigXml& config, bool any_log_on, FileDiagnostics& out) {
  CDOMElement root = config.GetRootNode();
  std::string path;
  try {
    path = config.get_share_path();
  } catch (...) {
    int line = nearest_line(root, keys::kSharePath);
    if (any_log_on) {
      out.error(line,
                "no 'share/path' text: every record that an enabled log takes fails (not logged, "
                "no answer)");
    } else {
      out.note(line, "no 'share/path' text; harmless while both logs are disabled");
    }
    return;
  }
  if (path.empty() || path[0] != '/') {
    out.warning(nearest_line(root, keys::kSharePath),
                "'share/path' " + quoted(path) +
                    " is not an absolute path: the logs land below the service's working "
                    "directory");
  }
}

void check_autodelete(ConfigXml& config, const LogSwitch& log, FileDiagnostics& out) {
  CDOMElement root = config.GetRootNode();
  try {
    config.GetAutoDelete(log.kind);
  } catch (...) {
    if (log_enabled(root, log)) {
      out.error(nearest_line(root, log.autodelete),
                std::string("no '") + log.autodelete + "' element: while '" + log.conf +
                    "' is enabled, every " + log.records + " fails (not logged, no answer)");
    }
    return;
  }
  CDOMElement autodelete = *find_element(root, log.autodelete);
  std::optional<CDOMElement> days = find_element(autodelete, keys::kExpireDays);
  std::optional<CDOMElement> percent = find_element(autodelete, keys::kExpirePercent);
  if (percent && text_of(*percent) && !(days && text_of(*days))) {
    out.warning(line_of(*percent),
                "'expire/percent' is not read without an 'expire/days' text: "
                "both read as 0");
  }
}

void check_shares(ConfigXml& config, FileDiagnostics& out) {
  CDOMElement root = config.GetRootNode();
  bool any_logged = XmlData::GetEnable(root, keys::kShareList, keys::kAll);
  for (const CDOMElement& name : XmlData::SelectElements(root, keys::kShareNames)) {
    std::optional<std::string> share = text_of(name);
    if (!share) continue;
    if (is_logged_share(*share, config)) {
      any_logged = true;
    } else {
      out.note(line_of(name), "share " + quoted(*share) + " is never logged");
    }
  }
  if (!log_enabled(root, kLogs[1])) {
    if (!XmlData::SelectElements(root, keys::kAlerts).empty()) {
      out.note(nearest_line(root, parent_path(keys::kAlerts)),
               "'accesslogconf' is not enabled: no access record is logged and no rule is tried");
    }
  } else if (!any_logged) {
    out.warning(nearest_line(root, keys::kShareList),
                "'accesslogconf' is enabled, but no share is logged: 'sharelist' names none "
                "and its all is not \"true\"");
  }
}

}  // namespace

void check_settings(FileDiagnostics& out) {
  ConfigXml config;
  if (!load_document(config, kUnloadable, out)) return;
  CDOMElement root = config.GetRootNode();
  bool any_log_on = false;
  for (const LogSwitch& log : kLogs) any_log_on = any_log_on || log_enabled(root, log);
  check_log_volume(config, any_log_on, out);
  for (const LogSwitch& log : kLogs) check_autodelete(config, log, out);
  check_against_schema(root, settings_schema(), out);
  check_shares(config, out);
  check_rules(config, out);
  check_hardening(root, out);
  check_sealing(root, paths::kSealDir, out);
}

}  // namespace sarvik::check
