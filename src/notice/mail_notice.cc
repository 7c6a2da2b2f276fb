// Mail to the notice profiles through the mail script, and the addresses it reached.
#include "notice/mail_notice.h"

#include "notice/mail_profiles.h"
#include "notice/notice_dialect.h"

namespace sarvik {

namespace {

// The body with its first "%s" replaced by `first`. The body carries log lines, so every other
// '%', a later "%s" among them, goes out as plain text and no line is read as a format.
std::string insert_first_address(const std::string& body, const std::string& first) {
  std::string text = body;
  const size_t at = text.find("%s");
  if (at != std::string::npos) text.replace(at, 2, first);
  return text;
}

}  // namespace

int send_mail(MailNotice& notice, const std::string& subject, const std::string& body) {
  const std::vector<MailProfile> profiles =
      read_mail_profiles(notice.settings_path, notice.settings_lock, notice.limits.lock_seconds);
  const std::string subject_x = escape_xml(subject);
  const std::string body_x = escape_xml(body);
  notice.sent_addresses.clear();
  notice.failed_addresses.clear();
  if (profiles.empty()) return 1;
  for (const MailProfile& profile : profiles) {
    std::vector<std::string>* side = &notice.failed_addresses;
    try {
      // A profile without addresses has no first one; its "%s" reads as empty.
      const std::string first =
          profile.addresses.empty() ? std::string() : escape_xml(profile.addresses.front());
      send_request(notice,
                   fill_template(kMailEntryTemplate, {std::to_string(profile.profilenum), subject_x,
                                                      insert_first_address(body_x, first)}));
      side = &notice.sent_addresses;
    } catch (...) {
      // the profile counts as failed and the next one is tried all the same
    }
    side->insert(side->end(), profile.addresses.begin(), profile.addresses.end());
  }
  return 0;
}

}  // namespace sarvik
