// The server loop: one connection, one request, one answer at a time.
#include "core/server.h"

#include <iostream>
#include <stdexcept>

#include "core/request_handlers.h"
#include "protocol/connection.h"
#include "protocol/request_data.h"
#include "protocol/wire.h"
#include "support/fixed_paths.h"

namespace sarvik {

namespace {

// Reads one request from `client` and hands it to the handler of its kind. Returns false when
// the request had no payload and gets no answer.
bool dispatch(Connection& client) {
  RequestData request;
  client.read_packet(request);  // result ignored: a failed read leaves the packet empty
  if (request.size == 0) {
    std::cerr << "No data request!! Ignore.\n";
    return false;
  }
  switch (request.type()) {
    case kAccessLogType: {
      std::cout << "access log request received.\n";
      handle_access_log(ReqAccessLog(request));
      break;
    }
    case kSystemLogType: {
      std::cout << "system log request received.\n";
      handle_system_log(ReqSystemLog(request));
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
void serve_next(Connection& listener) {
  try {
    int fd = listener.accept_client();
    if (fd < 0) {
      std::cerr << "Accept fail!!\n";
      return;
    }
    Connection client(fd);
    if (!dispatch(client)) return;
    client.write_packet(ResultData(kResultOk));  // result ignored: the client may have left
  } catch (const std::runtime_error& error) {
    std::cerr << "Error: " << error.what() << std::endl;
  } catch (const std::logic_error& error) {
    std::cerr << "Error: " << error.what() << std::endl;
  } catch (...) {
    std::cerr << "Error: unknown exception\n";
  }
}

}  // namespace

void server_main() {
  Connection listener(paths::kSocket);
  for (;;) serve_next(listener);
}

}  // namespace sarvik
