// Mail to the notice profiles through the mail script, and the addresses it reached.
#ifndef SARVIK_NOTICE_MAIL_NOTICE_H_
#define SARVIK_NOTICE_MAIL_NOTICE_H_

#include <string>
#include <vector>

#include "notice/notice_request.h"

namespace sarvik {

// The mail script and notice settings of `where`, and the result of the last send_mail, which
// the caller reads right after the call; the next send_mail clears it. One thread at a time.
struct MailNotice : NoticeScript {
  explicit MailNotice(const NoticePaths& where, const NoticeLimits& limits = {})
      : NoticeScript{where.mail_script, limits},
        settings_path(where.settings),
        settings_lock(where.settings_lock) {}

  // The notice settings with the mail profiles, read under a shared lock on `settings_lock`.
  std::string settings_path;
  std::string settings_lock;

  // The addresses of the profiles whose request succeeded.
  std::vector<std::string> sent_addresses;
  // The addresses of the profiles whose request failed.
  std::vector<std::string> failed_addresses;
};

// Reads the mail profiles anew and sends one mail request per profile, in order, the first "%s"
// of `body` standing for the profile's first address; subject, body and address are escaped.
// Each profile's addresses go whole to `sent_addresses` or `failed_addresses`, and a failed
// profile does not stop the next. Returns 0, or 1 when no profile wants the notice. A failure to
// read the profiles raises, as read_mail_profiles does, and leaves both lists untouched. The
// notice's limits bound the scripts' runs and the wait for the profiles' lock.
int send_mail(MailNotice& notice, const std::string& subject, const std::string& body);

}  // namespace sarvik

#endif  // SARVIK_NOTICE_MAIL_NOTICE_H_
