// The lines of the two record kinds, composed from a request without touching any file.
#include "record/record_lines.h"

#include "record/record_text.h"

namespace sarvik {

SystemRecord system_record(const ReqSystemLog& request) {
  time_t when = parse_time(request.text_entry(kSystemTime).c_str());
  return SystemRecord{
      when, join_fields({format_time(when), request.text_entry(kSystemText1),
                         request.text_entry(kSystemText2), request.text_entry(kSystemText3)})};
}

std::string access_line(time_t now, const AccessFields& fields) {
  return join_fields({format_time(now), fields.user, fields.host, fields.ipaddr, fields.operation,
                      fields.result, fields.share, fields.path});
}

}  // namespace sarvik
