// Fuzz target: the bytes a client sends, read as the service reads them (read_packet on a
// socket), taken apart by the request classes, and made into fields and record lines.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <new>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "protocol/connection.h"
#include "protocol/request_data.h"
#include "protocol/wire.h"
#include "record/access_fields.h"
#include "record/record_lines.h"

namespace sarvik::fuzzing {
namespace {

// More than a packet can hold (length word and 4096 bytes), less than a socket buffer takes, so
// one write delivers the whole input before the reading side looks at it.
constexpr size_t kMaxInput = 8192;
// The service's clock is not read: any moment serves for composing a line.
constexpr time_t kHandledAt = 1700000000;

// The text entries of an access request in index order (user to path, status and error number
// left out).
std::vector<std::string> access_texts(const ReqAccessLog& request) {
  std::vector<std::string> texts;
  for (size_t index :
       {kAccessUser, kAccessHost, kAccessIpAddr, kAccessOperation, kAccessShare, kAccessPath}) {
    texts.push_back(request.text_entry(index));
  }
  return texts;
}

// A request built from the fields of `parsed` reads back the same fields, as long as it fits the
// payload and no field holds a NUL (a field is read up to its first one, so none does).
void check_round_trip(const ReqAccessLog& parsed) {
  std::vector<std::string> texts = access_texts(parsed);
  uint32_t wire_length = 2 + 2 + 2 + 4 + 2 * 9;  // type, status, error number, length words
  for (const std::string& text : texts) wire_length += static_cast<uint32_t>(text.size()) + 1;
  if (wire_length > kMaxPayload) return;
  ReqAccessLog built(texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), texts[3].c_str(),
                     parsed.number_entry(kAccessStatus), parsed.number_entry(kAccessErrorNumber),
                     texts[4].c_str(), texts[5].c_str());
  ReqAccessLog reread(static_cast<const Packet&>(built));
  if (access_texts(reread) != texts) fuzz_fail("an access request does not read back its texts");
  if (reread.number_entry(kAccessStatus) != parsed.number_entry(kAccessStatus) ||
      reread.number_entry(kAccessErrorNumber) != parsed.number_entry(kAccessErrorNumber)) {
    fuzz_fail("an access request does not read back its numbers");
  }
}

void handle_access(const RequestData& request) {
  ReqAccessLog access(request);
  std::string share = access.text_entry(kAccessShare);
  access_user(access);
  access_operation(access);
  access_result(access, /*brief=*/true);
  access_result(access, /*brief=*/false);
  access_path(access, share);
  access_line(kHandledAt, access_fields(access, share));
  check_round_trip(access);
}

void handle_system(const RequestData& request) {
  SystemRecord record = system_record(ReqSystemLog(request));
  if (record.line.size() < 19) fuzz_fail("a system line lacks its time column");
}

}  // namespace
}  // namespace sarvik::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace sarvik;
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) fuzzing::fuzz_fail("socketpair");
  size = std::min(size, fuzzing::kMaxInput);
  if (size != 0 && write(ends[1], data, size) != static_cast<ssize_t>(size)) {
    fuzzing::fuzz_fail("the input did not fit the socket");
  }
  close(ends[1]);  // the client is done: a short packet ends here, as a client that left

  Connection client(ends[0]);
  RequestData request;
  client.read_packet(request);  // result ignored, as the service does
  if (request.size > kMaxPayload) fuzzing::fuzz_fail("a packet above the payload limit");
  if (request.size == 0) return 0;
  try {
    switch (request.type()) {
      case kAccessLogType:
        fuzzing::handle_access(request);
        break;
      case kSystemLogType:
        fuzzing::handle_system(request);
        break;
      default:
        break;
    }
  } catch (const std::bad_alloc&) {
    // An entry list that never ends (a value length of 65534) runs out of room; the service's
    // loop reports it as an unknown exception and serves the next client.
  }
  return 0;
}
