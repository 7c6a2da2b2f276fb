// System records: from a request to a line of the system log.
#ifndef SARVIK_CORE_SYSTEM_LOG_HANDLER_H_
#define SARVIK_CORE_SYSTEM_LOG_HANDLER_H_

#include "protocol/request_data.h"
#include "seal/sealer.h"
#include "settings/config_xml.h"

namespace sarvik {

// Writes one system record, stamped with the client's time, to the system log when the
// settings enable it. A record that cannot be written waits in memory and is tried again, with
// every other waiting record in order, at the next system record; when any of them fails again
// all stay, so a line can be written twice. Its lines are sealed when `sealer` seals. Raises
// CXMLError for missing settings (the record is then lost). Main thread only: the waiting list
// has no lock.
void handle_system_log(const ReqSystemLog& request, ConfigXml& config, Sealer& sealer);

}  // namespace sarvik

#endif  // SARVIK_CORE_SYSTEM_LOG_HANDLER_H_
