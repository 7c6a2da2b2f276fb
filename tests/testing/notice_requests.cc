// The requests the appliance's notice scripts get, byte for byte, as tests expect them.
#include "testing/notice_requests.h"

namespace sarvik::testing {

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
