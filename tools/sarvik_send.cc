// sarvik-send: delivers one system or access record to the log keeper's socket.
#include <errno.h>
#include <string.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "protocol/send_record.h"
#include "support/fixed_paths.h"

namespace {

constexpr int kUsageStatus = 2;
constexpr int kDeliveryFailedStatus = 1;

const char kUsage[] =
    "Usage: sarvik-send [--socket PATH] system TIME TEXT1 TEXT2 TEXT3\n"
    "       sarvik-send [--socket PATH] access USER HOST IP OPERATION STATUS ERRNO SHARE PATH\n"
    "\n"
    "Sends one record to the log keeper and exits with the result code of its answer (0).\n"
    "\n"
    "  system   a system record: TIME in seconds since the epoch (decimal text, e.g.\n"
    "           $(date +%s)), then the three free text columns of the record.\n"
    "  access   a file-access record: user, client host, client IP address, operation,\n"
    "           STATUS (a number: 0 means the operation failed, anything else that it\n"
    "           succeeded), ERRNO (the error number of a failure, 0 to 65535), share, and\n"
    "           the path inside the share, optionally prefixed \"r|\" (read) or \"w|\" (write).\n"
    "\n"
    "Options:\n"
    "  --socket PATH  the service's socket (default /tmp/sarvik)\n"
    "  -h, --help     show this text\n"
    "\n"
    "Exit status: the service's result code; 1 when the record could not be delivered or no\n"
    "answer came; 2 on a usage error.\n";

int usage_error(const std::string& message) {
  std::fprintf(stderr, "sarvik-send: %s\n\n%s", message.c_str(), kUsage);
  return kUsageStatus;
}

// Parses a decimal number of 0 to 65535; false for anything else.
bool parse_u16(const char* text, uint16_t* value) {
  if (*text == '\0') return false;
  char* end = nullptr;
  errno = 0;
  unsigned long number = std::strtoul(text, &end, 10);
  if (*end != '\0' || errno != 0 || number > 65535 || text[0] == '-') return false;
  *value = static_cast<uint16_t>(number);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<const char*> args(argv + 1, argv + argc);
  std::string socket_path = sarvik::paths::kSocket;
  if (!args.empty() && (std::string(args[0]) == "-h" || std::string(args[0]) == "--help")) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (args.size() >= 2 && std::string(args[0]) == "--socket") {
    socket_path = args[1];
    args.erase(args.begin(), args.begin() + 2);
  }
  if (args.empty()) return usage_error("no record kind given");

  std::string kind = args[0];
  int result;
  errno = 0;
  if (kind == "system") {
    if (args.size() != 5) return usage_error("a system record takes exactly four fields");
    result = sarvik::send_system_log(socket_path.c_str(), args[1], args[2], args[3], args[4]);
  } else if (kind == "access") {
    if (args.size() != 9) return usage_error("an access record takes exactly eight fields");
    uint16_t status, error_number;
    if (!parse_u16(args[5], &status)) return usage_error("STATUS must be a number 0-65535");
    if (!parse_u16(args[6], &error_number)) return usage_error("ERRNO must be a number 0-65535");
    errno = 0;
    result = sarvik::send_access_log(socket_path.c_str(), args[1], args[2], args[3], args[4],
                                     status, error_number, args[7], args[8]);
  } else {
    return usage_error("unknown record kind '" + kind + "'");
  }

  if (result < 0) {
    if (errno != 0) {
      std::fprintf(stderr, "sarvik-send: cannot deliver the record to %s: %s\n",
                   socket_path.c_str(), strerror(errno));
    } else {
      std::fprintf(stderr, "sarvik-send: %s closed the connection without an answer\n",
                   socket_path.c_str());
    }
    return kDeliveryFailedStatus;
  }
  return result;
}
