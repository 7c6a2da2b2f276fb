// The lines of the two record kinds, composed from a request without touching any file.
#include "core/record_lines.h"

#include <sstream>

#include "core/access_fields.h"
#include "core/record_text.h"

namespace sarvik {

namespace {

// Entries of a system request, by index.
enum SystemEntry : size_t { kSystemTime = 1, kSystemText1 = 2, kSystemText2 = 3, kSystemText3 = 4 };

}  // namespace

SystemRecord system_record(const ReqSystemLog& request) {
  time_t when = parse_time(request.text_entry(kSystemTime).c_str());
  std::ostringstream line;
  line << format_time(when) << kFieldSeparator << request.text_entry(kSystemText1)
       << kFieldSeparator << request.text_entry(kSystemText2) << kFieldSeparator
       << request.text_entry(kSystemText3);
  return SystemRecord{when, line.str()};
}

std::string access_record_line(const ReqAccessLog& request, time_t now) {
  std::string share = request.text_entry(kAccessShare);
  std::ostringstream line;
  line << format_time(now) << kFieldSeparator << access_user(request) << kFieldSeparator
       << request.text_entry(kAccessHost) << kFieldSeparator << request.text_entry(kAccessIpAddr)
       << kFieldSeparator << access_operation(request) << kFieldSeparator
       << access_result(request, /*brief=*/false) << kFieldSeparator << share << kFieldSeparator
       << access_path(request, share);
  return line.str();
}

}  // namespace sarvik
