// The XML dialect spoken with the notification scripts: request templates, melodies, reply keys.
#ifndef SARVIK_NOTICE_NOTICE_DIALECT_H_
#define SARVIK_NOTICE_NOTICE_DIALECT_H_

#include <initializer_list>
#include <string>
#include <string_view>

namespace sarvik {

// Request templates. Each "%s" or "%d" is a placeholder, filled by fill_template; the filled
// document goes to the script as it stands: no declaration, no newline, no blanks.
inline constexpr char kDocumentTemplate[] = "<request><entrylist>%s</entrylist></request>";
inline constexpr char kEventLogEntryTemplate[] =
    "<entry type=\"add\"><eventlog><log><code>%s</code>%s</log></eventlog></entry>";
inline constexpr char kArgListTemplate[] = "<arglist>%s</arglist>";
inline constexpr char kArgTemplate[] = "<arg name=\"%s\">%s</arg>";
inline constexpr char kMailEntryTemplate[] =
    "<entry type=\"send\"><mailsend><mailconf profilenum=\"%d\"/><message><header><subject>%s"
    "</subject></header><body>%s</body></message></mailsend></entry>";
inline constexpr char kBuzzerEntryTemplate[] =
    "<entry type=\"play\"><buzzer><melody type=\"%s\"/></buzzer></entry>";

// Melodies of the buzzer, by the index that request_buzzer takes.
inline constexpr const char* kMelodies[] = {"ok", "error"};

// The reply: the element below the root that decides, its attribute and the one good value.
inline constexpr char kReplyEntry[] = "entrylist/entry";
inline constexpr char kReplyResult[] = "result";
inline constexpr char kReplyResultOk[] = "0";

// Reasons appended to the script's path in the errors of a reply.
inline constexpr char kResultError[] = ": result error - ";
inline constexpr char kResponseInvalid[] = ": response invalid!!";

// `form` with its placeholders replaced by `operands` in order, by concatenation, so no value is
// limited in length or read as a format. A placeholder beyond the operands is left out.
std::string fill_template(std::string_view form, std::initializer_list<std::string_view> operands);

}  // namespace sarvik

#endif  // SARVIK_NOTICE_NOTICE_DIALECT_H_
