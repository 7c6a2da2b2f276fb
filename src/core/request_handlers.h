// The handlers of the two request kinds.
#ifndef SARVIK_CORE_REQUEST_HANDLERS_H_
#define SARVIK_CORE_REQUEST_HANDLERS_H_

#include "protocol/request_data.h"

namespace sarvik {

// Turns one system record into a line of the system log. Main thread.
void handle_system_log(const ReqSystemLog& request);
// Turns one access record into a line of the access log. Main thread.
void handle_access_log(const ReqAccessLog& request);

}  // namespace sarvik

#endif  // SARVIK_CORE_REQUEST_HANDLERS_H_
