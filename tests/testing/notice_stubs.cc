// The appliance's three notice scripts as recording stubs, and its notice settings.
#include "testing/notice_stubs.h"

#include "testing/file_text.h"

namespace sarvik::testing {

namespace {

// Makes the folders below `root` and the record folder `name`, and returns the latter.
std::string record_dir(const std::string& root, const std::string& name) {
  make_dirs(root + "/bin");
  make_dirs(root + "/xmlconf");
  const std::string dir = root + "/record/" + name;
  make_dirs(dir);
  return dir;
}

}  // namespace

NoticeStubs::NoticeStubs(const std::string& root)
    : settings(root + "/xmlconf/config-notice.xml"),
      settings_lock(root + "/xmlconf/config-notice.xml.lock"),
      eventlog(root + "/bin/eventlog.py", record_dir(root, "eventlog")),
      buzzer(root + "/bin/buzzer.py", record_dir(root, "buzzer")),
      mail(root + "/bin/mailsend.py", record_dir(root, "mail")) {}

NoticePaths NoticeStubs::paths() const {
  return NoticePaths{eventlog.path(), buzzer.path(), mail.path(), settings, settings_lock};
}

void NoticeStubs::write_mail_profiles(const std::string& profiles) const {
  write_mail_profiles_to(settings, profiles);
}

std::string eventlog_request(const std::string& code, const std::string& args) {
  return "<request><entrylist><entry type=\"add\"><eventlog><log><code>" + code +
         "</code><arglist>" + args + "</arglist></log></eventlog></entry></entrylist></request>";
}

std::string arg(const std::string& name, const std::string& value) {
  return "<arg name=\"" + name + "\">" + value + "</arg>";
}

std::string mail_request(int profilenum, const std::string& subject, const std::string& body) {
  return "<request><entrylist><entry type=\"send\"><mailsend><mailconf profilenum=\"" +
         std::to_string(profilenum) + "\"/><message><header><subject>" + subject +
         "</subject></header><body>" + body +
         "</body></message></mailsend></entry></entrylist></request>";
}

}  // namespace sarvik::testing
