// The mail profiles of the notice settings that take system notices.
#include "notice/mail_profiles.h"

#include <glibmm/ustring.h>

#include "notice/notice_keys.h"
#include "settings/settings_keys.h"
#include "settings/xml_data.h"

namespace sarvik {

std::vector<MailProfile> read_mail_profiles(const std::string& settings_path,
                                            const std::string& lock_path, int lock_wait_seconds) {
  XmlData settings(lock_path);
  settings.LockedLoad(settings_path, lock_wait_seconds);
  std::vector<MailProfile> profiles;
  int index = 0;
  for (const Vexil::CDOMElement& conf :
       XmlData::SelectElements(settings.GetRootNode(), keys::kMailConfs)) {
    if (XmlData::GetEnable(conf, keys::kSelf, keys::kEnable) &&
        XmlData::GetEnable(conf, keys::kSystemNotify, keys::kEnable)) {
      MailProfile profile{index, {}};
      for (const Glib::ustring& address : XmlData::GetTextList(conf, keys::kToAddrs)) {
        profile.addresses.push_back(address.raw());
      }
      profiles.push_back(std::move(profile));
    }
    ++index;  // counts every profile, so the number stays the one the mail script knows
  }
  return profiles;
}

}  // namespace sarvik
