// The appliance's notice settings as tests write them: mail profiles taking system notices.
#ifndef SARVIK_TESTING_NOTICE_SETTINGS_H_
#define SARVIK_TESTING_NOTICE_SETTINGS_H_

#include <string>
#include <vector>

#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {

// A mail profile, on or off as a whole, taking system notices, with `addresses`.
inline std::string mail_profile(bool on, const std::vector<std::string>& addresses) {
  std::string xml = std::string("<mailconf enable=\"") + (on ? "true" : "false") + "\">";
  xml += "<notifylist><notify name=\"system\" enable=\"true\"/></notifylist><toaddrlist>";
  for (const std::string& address : addresses) xml += "<toaddr>" + address + "</toaddr>";
  return xml + "</toaddrlist></mailconf>";
}

// Writes the notice settings at `path` with `profiles` as the profile list.
inline void write_mail_profiles_to(const std::string& path, const std::string& profiles) {
  write_file(path, "<config><mailnotice><mailconflist>" + profiles +
                       "</mailconflist></mailnotice></config>");
}

// The same at the settings' fixed path, for tests of the whole service.
inline void write_mail_profiles(const std::string& profiles) {
  write_mail_profiles_to(paths::kNoticeSettings, profiles);
}

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_NOTICE_SETTINGS_H_
