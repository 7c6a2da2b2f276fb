// Access records: from a request to a line of the access log.
#ifndef SARVIK_CORE_ACCESS_LOG_HANDLER_H_
#define SARVIK_CORE_ACCESS_LOG_HANDLER_H_

#include "protocol/request_data.h"
#include "settings/config_xml.h"

namespace sarvik {

// Writes one access record, stamped with the service's clock, to the access log when the
// settings enable it and log its share. A record that cannot be written is dropped. Raises
// CXMLError for missing settings. Main thread only.
void handle_access_log(const ReqAccessLog& request, ConfigXml& config);

}  // namespace sarvik

#endif  // SARVIK_CORE_ACCESS_LOG_HANDLER_H_
