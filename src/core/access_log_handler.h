// Access records: from a request to a line of the access log.
#ifndef SARVIK_CORE_ACCESS_LOG_HANDLER_H_
#define SARVIK_CORE_ACCESS_LOG_HANDLER_H_

#include "alert/alert_thread.h"
#include "protocol/request_data.h"
#include "seal/sealer.h"
#include "settings/config_xml.h"

namespace sarvik {

// Writes one access record, stamped with the service's clock, to the access log when the
// settings enable it and log its share, and then tries it against the alert rules, also when
// it could not be written (it is then dropped). A record that is not logged fires no rule. The
// lines of the access and the alert log are sealed when `sealer` seals. Raises CXMLError for
// missing settings. Main thread only.
void handle_access_log(const ReqAccessLog& request, ConfigXml& config, AlertThread& alerts,
                       Sealer& sealer);

}  // namespace sarvik

#endif  // SARVIK_CORE_ACCESS_LOG_HANDLER_H_
