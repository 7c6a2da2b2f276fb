// sarvik-send: delivers system and access records to the log keeper's socket.
#include <errno.h>
#include <string.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
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
    "       sarvik-send [--socket PATH] --batch < RECORDS\n"
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
    "  --batch        read records from standard input, one per line, the kind and the\n"
    "                 fields separated by tabs, and send each over a connection of its own\n"
    "  -h, --help     show this text\n"
    "\n"
    "Exit status: the service's result code; 1 when the record could not be delivered or no\n"
    "answer came; 2 on a usage error. With --batch: 0 when every record was taken, 1 when one\n"
    "could not be delivered, 2 when a line was not a record.\n";

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

// The outcome of one record: the service's result code, or a usage fault of the fields.
struct Outcome {
  int result;           // the answer's code; negative when the record was not delivered
  std::string problem;  // not empty when the fields are no record; nothing was sent then
};

// Sends one record given as its kind and fields, over a connection of its own.
Outcome send_record(const std::string& socket_path, const std::vector<const char*>& record) {
  if (record.empty()) return {0, "no record kind given"};
  std::string kind = record[0];
  errno = 0;
  if (kind == "system") {
    if (record.size() != 5) return {0, "a system record takes exactly four fields"};
    return {
        sarvik::send_system_log(socket_path.c_str(), record[1], record[2], record[3], record[4]),
        ""};
  }
  if (kind == "access") {
    if (record.size() != 9) return {0, "an access record takes exactly eight fields"};
    uint16_t status, error_number;
    if (!parse_u16(record[5], &status)) return {0, "STATUS must be a number 0-65535"};
    if (!parse_u16(record[6], &error_number)) return {0, "ERRNO must be a number 0-65535"};
    errno = 0;
    return {sarvik::send_access_log(socket_path.c_str(), record[1], record[2], record[3], record[4],
                                    status, error_number, record[7], record[8]),
            ""};
  }
  return {0, "unknown record kind '" + kind + "'"};
}

// Says why a record did not reach the service; errno is as the failed exchange left it.
void report_delivery_failure(const std::string& socket_path) {
  if (errno != 0) {
    std::fprintf(stderr, "sarvik-send: cannot deliver the record to %s: %s\n", socket_path.c_str(),
                 strerror(errno));
  } else {
    std::fprintf(stderr, "sarvik-send: %s closed the connection without an answer\n",
                 socket_path.c_str());
  }
}

// Splits `line` at its tabs, in place; the pieces point into it.
std::vector<const char*> split_tabs(std::string& line) {
  std::vector<const char*> fields{line.data()};
  for (char& c : line) {
    if (c != '\t') continue;
    c = '\0';
    fields.push_back(&c + 1);
  }
  return fields;
}

// Sends the records of standard input in their order; a bad line is reported and skipped.
int send_batch(const std::string& socket_path) {
  int status = 0;
  std::string line;
  for (long number = 1; std::getline(std::cin, line); ++number) {
    Outcome outcome = send_record(socket_path, split_tabs(line));
    if (!outcome.problem.empty()) {
      std::fprintf(stderr, "sarvik-send: line %ld: %s\n", number, outcome.problem.c_str());
      status = kUsageStatus;
    } else if (outcome.result < 0) {
      report_delivery_failure(socket_path);
      if (status == 0) status = kDeliveryFailedStatus;
    }
  }
  return status;
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
  if (args.size() == 1 && std::string(args[0]) == "--batch") return send_batch(socket_path);

  Outcome outcome = send_record(socket_path, args);
  if (!outcome.problem.empty()) return usage_error(outcome.problem);
  if (outcome.result < 0) {
    report_delivery_failure(socket_path);
    return kDeliveryFailedStatus;
  }
  return outcome.result;
}
