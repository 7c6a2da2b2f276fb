// Requests to the notification scripts: event log and buzzer, and the exchange under them.
#include "notice/notice_request.h"

#include <glibmm/ustring.h>

#include <sstream>

#include "notice/cmd_exec.h"
#include "notice/cmd_exec_error.h"
#include "notice/notice_dialect.h"
#include "settings/xml_data.h"
#include "support/xml_safe_text.h"

namespace sarvik {

std::string escape_xml(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string make_args(const std::map<std::string, std::string>& args) {
  std::string text;
  for (const auto& [key, value] : args) {
    text += fill_template(kArgTemplate, {key, escape_xml(value)});
  }
  return text;
}

std::string make_arglist(const std::map<std::string, std::string>& args) {
  const std::string list = make_args(args);
  return list.empty() ? list : fill_template(kArgListTemplate, {list});
}

void judge_reply(const std::string& script_path, const std::string& reply) {
  try {
    std::istringstream text(reply);
    XmlData document{std::string()};
    document.Load(text);
    const Glib::ustring result =
        Vexil::CDOMElement(document.GetRootNode().SelectSingleNode(kReplyEntry))
            .GetAttributeValue(kReplyResult);
    if (result.raw() != kReplyResultOk) {
      // The handler below replaces this text, so a caller sees one message for a bad result and
      // for a reply that cannot be read alike: all a caller can act on is that the script failed.
      throw CmdExecError(script_path + kResultError + result.raw(), /*exec_failed=*/true,
                         /*exit_code=*/0);
    }
  } catch (...) {
    throw CmdExecError(script_path + kResponseInvalid, /*exec_failed=*/true, /*exit_code=*/0);
  }
}

std::string send_request(const NoticeScript& script, const std::string& entry) {
  std::string document = fill_template(kDocumentTemplate, {entry});
  // The whole document at once: its fixed parts are plain ASCII, so this reaches exactly the
  // texts filled in.
  if (script.limits.safe_text) document = xml_safe_text(document);
  std::stringstream request(document);
  std::stringstream reply;
  std::string program = script.script_path;
  char* const argv[] = {program.data(), nullptr};
  Vexil::ExecLimits run_limits;
  run_limits.time_seconds = script.limits.script_seconds;
  run_limits.output_bytes = script.limits.reply_bytes;
  // A non-zero status or a failed start raises from here, before the reply is looked at.
  cmd_exec_input(script.script_path, argv, &request, &reply, "", run_limits);
  judge_reply(script.script_path, reply.str());
  return reply.str();
}

std::string request_eventlog(const NoticeScript& script, const std::string& code,
                             const std::map<std::string, std::string>& args) {
  return send_request(script, fill_template(kEventLogEntryTemplate, {code, make_arglist(args)}));
}

std::string request_buzzer(const NoticeScript& script, int melody) {
  return send_request(script, fill_template(kBuzzerEntryTemplate, {kMelodies[melody]}));
}

void notify_eventlog(const std::string& code, const std::map<std::string, std::string>& args,
                     const NoticeLimits& limits, const NoticePaths& where) {
  try {
    request_eventlog(NoticeScript{where.eventlog_script, limits}, code, args);
  } catch (...) {
    // failure ignored: a missing event-log record must not stop the alert
  }
}

void notify_buzzer(int melody, const NoticeLimits& limits, const NoticePaths& where) {
  try {
    request_buzzer(NoticeScript{where.buzzer_script, limits}, melody);
  } catch (...) {
    // failure ignored: a silent buzzer must not stop the alert
  }
}

}  // namespace sarvik
