// Raising one alert: the event-log record, the buzzer, the mail and its results per address.
#include "alert/handle_alert.h"

#include <iostream>
#include <map>

#include "alert/alert_texts.h"
#include "notice/event_codes.h"
#include "notice/mail_notice.h"
#include "notice/notice_request.h"

namespace sarvik {

namespace {

// The buzzer's melody "error".
constexpr int kMelodyError = 1;

}  // namespace

void handle_alert(const std::string& name, const std::vector<std::string>& lines,
                  const NoticeLimits& limits, const NoticePaths& where) {
  const std::string count = std::to_string(lines.size());
  notify_eventlog(kEventAlertRaised, {{"name", name}, {"number", count}}, limits, where);
  notify_buzzer(kMelodyError, limits, where);
  try {
    MailNotice notice(where, limits);
    const std::string subject = kAlertSubjectPrefix + name;
    // The lines go as they stand in the log; send_mail escapes them for the request.
    std::string body =
        kAlertBodyBeforeName + name + kAlertBodyAfterName + count + kAlertBodyAfterCount;
    for (const std::string& line : lines) body += line + "\n";
    if (send_mail(notice, subject, body) != 0) {
      // No line end: sarvik(8) documents the text byte for byte, and whoever watches the
      // output matches it in that form.
      std::cout << "handle_alert: no mail send.";
      return;
    }
    notify_mail_results(name, kEventMailSent, notice.sent_addresses, limits, where);
    notify_mail_results(name, kEventMailFailed, notice.failed_addresses, limits, where);
  } catch (...) {
    // Dropped without a message: notice settings that cannot be read end the alert here, with
    // no record for the addresses.
  }
}

void notify_mail_results(const std::string& name, const std::string& code,
                         const std::vector<std::string>& addresses, const NoticeLimits& limits,
                         const NoticePaths& where) {
  for (const std::string& address : addresses) {
    notify_eventlog(code, {{"name", name}, {"mail_address", address}}, limits, where);
  }
}

}  // namespace sarvik
