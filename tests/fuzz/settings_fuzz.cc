// Fuzz target: any bytes as the service's settings file, read through every getter the service
// uses, the alert rules parsed and tried on an event.
#include <sstream>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "settings/config_xml.h"
#include "settings/settings_keys.h"
#include "support/library_messages.h"
#include "support/xml_error.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Vexil::SilenceLibraryMessages();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace sarvik;
  using fuzzing::fuzz_fail;
  std::istringstream file(std::string(reinterpret_cast<const char*>(data), size));
  ConfigXml config;
  try {
    config.Load(file);
  } catch (const Vexil::CXMLError&) {
    // A file that is no XML document: the reload fails and the service reports it.
    return 0;
  }
  Vexil::CDOMElement root = config.GetRootNode();

  // The getters below never raise: a fault in the file reads as a default.
  XmlData::GetEnable(root, keys::kEventLogConf, keys::kEnable);
  XmlData::GetEnable(root, keys::kAccessLogConf, keys::kEnable);
  XmlData::GetNodeText(root, keys::kSharePath, "none");
  XmlData::GetNodeAttribute(root, keys::kShareList, keys::kAll, "false");
  XmlData::GetTextList(root, keys::kShareNames);
  XmlData::GetHourMinute(root, "alertlist/alert/period/from");
  for (const Vexil::CDOMElement& alert : XmlData::SelectElements(root, keys::kAlerts)) {
    XmlData::GetHourMinute(alert, keys::kPeriodTo);
  }
  config.get_share_names();
  is_logged_share("docs", config);
  if (is_logged_share("IPC$", config)) fuzz_fail("the share IPC$ is logged");

  // A kind past the last names no log and must read as all zero without touching the document.
  AutoDelete none = config.GetAutoDelete(kAutoDeleteKinds);
  if (none.enable || none.days != 0 || none.percent != 0) fuzz_fail("GetAutoDelete(past last)");
  for (int kind : {kSystemLogExpiry, kAccessLogExpiry}) {
    try {
      config.GetAutoDelete(kind);
    } catch (const Vexil::CXMLError&) {
      // no autodelete element: the request fails in the loop
    }
  }
  try {
    config.get_share_path();
  } catch (const Vexil::CXMLError&) {
    // no "share/path": the request fails in the loop
  }

  const std::vector<AlertInfo>& rules = config.get_alert_list();
  for (const AlertInfo& rule : rules) {
    if (rule.name.empty()) fuzz_fail("a rule without a name was kept");
    rule.match(1700000000, "alice", "pc1", "192.0.2.7", "open_read", "fail", "docs", "a/b.txt");
  }
  // Parsed once per load: a second call hands back the same list.
  if (&config.get_alert_list() != &rules || config.get_alert_list().size() != rules.size()) {
    fuzz_fail("the rule list changed without a reload");
  }
  return 0;
}
