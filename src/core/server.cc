// The server loop: one connection, one request, one answer at a time.
#include "core/server.h"

#include <time.h>

#include <chrono>
#include <iostream>
#include <stdexcept>

#include "alert/alert_loop.h"
#include "alert/alert_thread.h"
#include "core/accept_backoff.h"
#include "core/access_log_handler.h"
#include "core/error_report.h"
#include "core/reload_flag.h"
#include "core/system_log_handler.h"
#include "notice/notice_paths.h"
#include "protocol/connection.h"
#include "protocol/request_data.h"
#include "protocol/wire.h"
#include "seal/sealer.h"
#include "settings/config_xml.h"
#include "support/fixed_paths.h"

namespace sarvik {

namespace {

// Loads the settings file and hands the notice limits it sets to the alert thread and its switch
// of sealing to the sealer.
void load_settings(ConfigXml& config, AlertThread& alerts, Sealer& sealer) {
  config.reload();
  alerts.set_notice_limits(config.hardening.notice);
  sealer.apply(config.hardening.seal);
}

// Applies a SIGHUP that came since the last connection. The flag is cleared first, so a reload
// that fails is not tried again before the next SIGHUP.
void reload_if_requested(ConfigXml& config, AlertThread& alerts, Sealer& sealer) {
  if (!reload_requested) return;
  // No line end and no flush, as sarvik(8) documents it: the text shows in front of the next
  // message, which tells how the reload went.
  std::cout << "Reload config";
  reload_requested = 0;
  load_settings(config, alerts, sealer);
}

// Reads the request of `client`, within the settings' client time limit when there is one, which
// counts from `accepted`. A client that has not sent its request by then is one that sent
// nothing.
void read_request(Connection& client, const ConfigXml& config,
                  std::chrono::steady_clock::time_point accepted, RequestData& request) {
  // Results ignored: a failed read leaves the packet empty.
  if (config.hardening.client_seconds <= 0) {
    client.read_packet(request);
  } else {
    client.read_packet(request, accepted + std::chrono::seconds(config.hardening.client_seconds));
  }
}

// Reads one request from `client` and hands it to the handler of its kind. Returns false when
// the request had no payload and gets no answer.
bool dispatch(Connection& client, ConfigXml& config, AlertThread& alerts, Sealer& sealer,
              std::chrono::steady_clock::time_point accepted) {
  RequestData request;
  read_request(client, config, accepted, request);
  if (request.size == 0) {
    std::cerr << "No data request!! Ignore.\n";
    return false;
  }
  switch (request.type()) {
    case kAccessLogType: {
      std::cout << "access log request received.\n";
      handle_access_log(ReqAccessLog(request), config, alerts, sealer);
      break;
    }
    case kSystemLogType: {
      std::cout << "system log request received.\n";
      handle_system_log(ReqSystemLog(request), config, sealer);
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
void serve_next(Connection& listener, ConfigXml& config, AlertThread& alerts, Sealer& sealer,
                AcceptBackoff& backoff) {
  try {
    int fd = listener.accept_client();
    if (fd < 0) {
      std::cerr << "Accept fail!!\n";
      // A path that cannot be bound (a directory put at it) fails every accept at once: the
      // pause keeps the loop from spinning while it lasts.
      backoff.wait_after_failure();
      return;
    }
    backoff.reset();
    const auto accepted = std::chrono::steady_clock::now();
    // Wrapped before a pending reload, so that a reload that fails still closes the connection:
    // the client gets end of stream and no descriptor is left behind.
    Connection client(fd);
    reload_if_requested(config, alerts, sealer);
    // The zone is looked at again once per request (tzset costs one stat of /etc/localtime
    // while it is unchanged), so that a zone the administrator changes applies from the next
    // record on. Every conversion of the request (localtime_r, mktime) then uses that zone; the
    // alert thread converts no time.
    tzset();
    if (!dispatch(client, config, alerts, sealer, accepted)) return;
    client.write_packet(ResultData(kResultOk));  // result ignored: the client may have left
  } catch (...) {
    report_current_exception();
  }
}

}  // namespace

void server_main() {
  ConfigXml config{std::string(paths::kSettings)};
  Connection listener(paths::kSocket);  // the socket comes with the first accept
  AlertThread alerts(
      alert_thread,
      appliance_notice_paths());  // not started: nothing is delivered before the settings
  Sealer sealer(paths::kSealDir, std::cerr, std::cout);
  // A service that cannot read its settings ends here and never appears on its socket; the
  // worker that was never started is destroyed without a join.
  load_settings(config, alerts, sealer);
  // Result not looked at: without the thread the service goes on, and hits wait undelivered.
  alerts.start();
  AcceptBackoff backoff;
  for (;;) serve_next(listener, config, alerts, sealer, backoff);
}

}  // namespace sarvik
