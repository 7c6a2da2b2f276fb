// The process entry of the service.
#include "core/service_entry.h"

#include <unistd.h>

#include <stdexcept>
#include <string>

#include "core/error_report.h"
#include "core/reload_flag.h"
#include "core/server.h"
#include "support/library_messages.h"

namespace sarvik {

namespace {

// Exit status of every failure that ends the service.
constexpr int kFailureStatus = 2;

bool asks_for_daemon(int argc, char** argv) {
  if (argc < 2) return false;
  std::string first = argv[1];
  return first == "-D" || first == "--daemon";
}

}  // namespace

int run_service(int argc, char** argv) {
  try {
    // From here on, under -D, the standard streams go to the null device.
    if (asks_for_daemon(argc, argv) && daemon(0, 0) != 0) {
      throw std::runtime_error("daemon fail!");
    }
    install_signal_handlers();
    Vexil::SilenceLibraryMessages();
    server_main();
  } catch (...) {
    report_current_exception();
  }
  return kFailureStatus;
}

}  // namespace sarvik
