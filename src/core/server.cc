// The server loop: one connection, one request, one answer at a time.
#include "core/server.h"

#include <time.h>

#include <iostream>
#include <stdexcept>

#include "alert/alert_loop.h"
#include "alert/alert_thread.h"
#include "core/access_log_handler.h"
#include "core/error_report.h"
#include "core/reload_flag.h"
#include "core/system_log_handler.h"
#include "protocol/connection.h"
#include "protocol/request_data.h"
#include "protocol/wire.h"
#include "settings/config_xml.h"
#include "support/fixed_paths.h"

namespace sarvik {

namespace {

// Applies a SIGHUP that came since the last connection. The flag is cleared first, so a reload
// that fails is not tried again before the next SIGHUP.
void reload_if_requested(ConfigXml& config) {
  if (!reload_requested) return;
  std::cout << "Reload config";  // no line end and no flush, as the service always printed it
  reload_requested = 0;
  config.reload();
}

// Reads one request from `client` and hands it to the handler of its kind. Returns false when
// the request had no payload and gets no answer.
bool dispatch(Connection& client, ConfigXml& config, AlertThread& alerts) {
  RequestData request;
  client.read_packet(request);  // result ignored: a failed read leaves the packet empty
  if (request.size == 0) {
    std::cerr << "No data request!! Ignore.\n";
    return false;
  }
  switch (request.type()) {
    case kAccessLogType: {
      std::cout << "access log request received.\n";
      handle_access_log(ReqAccessLog(request), config, alerts);
      break;
    }
    case kSystemLogType: {
      std::cout << "system log request received.\n";
      handle_system_log(ReqSystemLog(request), config);
      break;
    }
    default:
      std::cerr << "Invalid request type!! Ignore.\n";
      break;
  }
  return true;
}

// Serves the next client of `listener`. Every failure of the request ends here: it is printed,
// the connection is closed without an answer, and the service goes on.
void serve_next(Connection& listener, ConfigXml& config, AlertThread& alerts) {
  try {
    int fd = listener.accept_client();
    if (fd < 0) {
      std::cerr << "Accept fail!!\n";
      return;
    }
    // Wrapped before a pending reload, so that a reload that fails still closes the connection:
    // the client gets end of stream and no descriptor is left behind.
    Connection client(fd);
    reload_if_requested(config);
    // The zone is looked at again once per request (tzset costs one stat of /etc/localtime
    // while it is unchanged), so that a zone the administrator changes applies from the next
    // record on. Every conversion of the request (localtime_r, mktime) then uses that zone; the
    // alert thread converts no time.
    tzset();
    if (!dispatch(client, config, alerts)) return;
    client.write_packet(ResultData(kResultOk));  // result ignored: the client may have left
  } catch (...) {
    report_current_exception();
  }
}

}  // namespace

void server_main() {
  ConfigXml config;
  Connection listener(paths::kSocket);  // the socket comes with the first accept
  AlertThread alerts(alert_thread);     // not started: nothing is delivered before the settings
  // A service that cannot read its settings ends here and never appears on its socket; the
  // worker that was never started is destroyed without a join.
  config.reload();
  // Result not looked at: without the thread the service goes on, and hits wait undelivered.
  alerts.start();
  for (;;) serve_next(listener, config, alerts);
}

}  // namespace sarvik
