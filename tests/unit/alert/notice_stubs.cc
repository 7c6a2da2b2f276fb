// The appliance's three notice scripts as recording stubs, and its notice settings.
#include "notice_stubs.h"

#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {

namespace {

// Makes the script folder and the record folder `name`, and returns the latter.
std::string record_dir(const std::string& name) {
  make_dirs("/mnt/data/bin");
  make_dirs("/mnt/data/xmlconf");
  const std::string dir = "/mnt/data/record/" + name;
  make_dirs(dir);
  return dir;
}

}  // namespace

NoticeStubs::NoticeStubs()
    : eventlog(paths::kEventLogScript, record_dir("eventlog")),
      buzzer(paths::kBuzzerScript, record_dir("buzzer")),
      mail(paths::kMailScript, record_dir("mail")) {}

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
