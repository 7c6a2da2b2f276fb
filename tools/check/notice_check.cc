// Checking the notice settings: the mail profiles that alerts are sent through.
#include "check/notice_check.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <list>
#include <vector>

#include "check/document_load.h"
#include "check/schema_check.h"
#include "check/xml_lookup.h"
#include "notice/mail_profiles.h"
#include "notice/notice_keys.h"
#include "settings/settings_keys.h"

namespace sarvik::check {

namespace {

using Vexil::CDOMElement;

// The parts of a profile's notice switch that are read.
constexpr char kNotifyName[] = "name";
constexpr char kSystemNotice[] = "system";

constexpr char kNoMail[] = "alerts send no mail";

// Reports the switches that the alert thread reads in one profile.
void check_profile_switches(const CDOMElement& conf, FileDiagnostics& out) {
  std::map<std::string, std::string> attributes = attributes_of(conf);
  if (attributes.count(keys::kEnable) != 0) {
    check_switch(conf.GetName().raw(), keys::kEnable, attributes[keys::kEnable], line_of(conf),
                 out);
  }
  for (const CDOMElement& notify : XmlData::SelectElements(conf, keys::kNotifies)) {
    std::map<std::string, std::string> notify_attributes = attributes_of(notify);
    if (notify_attributes[kNotifyName] == kSystemNotice &&
        notify_attributes.count(keys::kEnable) != 0) {
      check_switch(notify.GetName().raw(), keys::kEnable, notify_attributes[keys::kEnable],
                   line_of(notify), out);
    }
  }
}

}  // namespace

void check_notice(const std::string& lock_path, FileDiagnostics& out) {
  if (access(out.file_name().c_str(), F_OK) != 0 && errno == ENOENT) {
    out.warning(0, std::string("cannot be read (") + strerror(ENOENT) + "): " + kNoMail);
    return;
  }
  XmlData document(lock_path);
  if (!load_document(document, kNoMail, out)) return;
  // The profiles as the alert thread takes them, numbered among all profiles of the file.
  std::vector<MailProfile> profiles = read_mail_profiles(out.file_name(), lock_path);
  std::list<CDOMElement> confs = XmlData::SelectElements(document.GetRootNode(), keys::kMailConfs);
  int index = 0;
  auto taking = profiles.begin();
  for (const CDOMElement& conf : confs) {
    check_profile_switches(conf, out);
    std::string profile = "mail profile " + std::to_string(index);
    if (taking != profiles.end() && taking->profilenum == index) {
      if (taking->addresses.empty()) {
        out.warning(line_of(conf), profile +
                                       " takes system notices but has no 'toaddrlist/toaddr': "
                                       "its mail goes to nobody");
      }
      ++taking;
    } else if (XmlData::GetEnable(conf, keys::kSelf, keys::kEnable)) {
      out.note(line_of(conf), profile + " is enabled but takes no system notices");
    }
    ++index;
  }
  if (profiles.empty()) {
    out.warning(nearest_line(document.GetRootNode(), parent_path(keys::kMailConfs)),
                std::string("no mail profile takes system notices: ") + kNoMail);
  }
}

}  // namespace sarvik::check
