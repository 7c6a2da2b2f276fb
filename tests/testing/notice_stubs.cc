// The appliance's three notice scripts as recording stubs, and its notice settings.
#include "testing/notice_stubs.h"

#include "testing/file_text.h"

namespace sarvik::testing {

namespace {

// The places of the scripts and settings below `root`, whose folders are made.
NoticePaths paths_below(const std::string& root) {
  make_dirs(root + "/bin");
  make_dirs(root + "/xmlconf");
  return NoticePaths{root + "/bin/eventlog.py", root + "/bin/buzzer.py", root + "/bin/mailsend.py",
                     root + "/xmlconf/config-notice.xml", root + "/xmlconf/config-notice.xml.lock"};
}

// Makes the record folder `name` below `record_root` and returns it.
std::string record_dir(const std::string& record_root, const std::string& name) {
  const std::string dir = record_root + "/" + name;
  make_dirs(dir);
  return dir;
}

}  // namespace

NoticeStubs::NoticeStubs(const std::string& root)
    : NoticeStubs(paths_below(root), root + "/record") {}

NoticeStubs::NoticeStubs(const NoticePaths& where, const std::string& record_root)
    : settings(where.settings),
      settings_lock(where.settings_lock),
      eventlog(where.eventlog_script, record_dir(record_root, "eventlog")),
      buzzer(where.buzzer_script, record_dir(record_root, "buzzer")),
      mail(where.mail_script, record_dir(record_root, "mail")) {}

NoticePaths NoticeStubs::paths() const {
  return NoticePaths{eventlog.path(), buzzer.path(), mail.path(), settings, settings_lock};
}

void NoticeStubs::write_mail_profiles(const std::string& profiles) const {
  write_mail_profiles_to(settings, profiles);
}

}  // namespace sarvik::testing
