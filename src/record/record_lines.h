// The lines of the two record kinds, composed from a request without touching any file.
#ifndef SARVIK_RECORD_RECORD_LINES_H_
#define SARVIK_RECORD_RECORD_LINES_H_

#include <ctime>
#include <string>

#include "protocol/request_data.h"
#include "record/access_fields.h"

namespace sarvik {

// A system record as the log takes it: the time the client gave, and the line of four columns
// (that time, then the three free texts as they stand).
struct SystemRecord {
  time_t when;
  std::string line;
};

// The system record of `request`. A time text that is no number gives the start of the epoch.
SystemRecord system_record(const ReqSystemLog& request);

// The line of eight columns of an access record handled at `now`: time, then `fields` (user in
// lower case, host, address, operation, long result, share, path). Nothing is quoted, so a comma
// in a field gives the line more columns.
std::string access_line(time_t now, const AccessFields& fields);

}  // namespace sarvik

#endif  // SARVIK_RECORD_RECORD_LINES_H_
