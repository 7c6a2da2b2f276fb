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

}  // namespace sarvik::testing
