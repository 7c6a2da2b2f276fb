// The client side of the protocol: deliver one record and return the service's answer.
#include "protocol/send_record.h"

#include <string>

#include "protocol/connection.h"
#include "protocol/request_data.h"
#include "protocol/wire.h"

namespace sarvik {

namespace {

// Connects to `socket_path`, sends `request` and reads the answer's result code; -1 on any
// failure.
int exchange(const char* socket_path, const Packet& request) {
  Connection connection{std::string(socket_path)};
  if (connection.connect_server() != 0) return -1;
  if (connection.write_packet(request) != 0) return -1;
  ResultData answer;
  if (connection.read_packet(answer) != 0) return -1;
  // An answer without the two bytes of a code means the service closed without answering.
  if (answer.size < kLengthWordSize) return -1;
  return read_be16(answer.data);
}

}  // namespace

// Any exception on the way, from a null socket path to exhausted memory, becomes -1.
int send_access_log(const char* socket_path, const char* user, const char* host, const char* ipaddr,
                    const char* operation, uint16_t status, uint16_t error_number,
                    const char* share, const char* path) {
  try {
    return exchange(socket_path,
                    ReqAccessLog(user, host, ipaddr, operation, status, error_number, share, path));
  } catch (...) {
    return -1;
  }
}

int send_system_log(const char* socket_path, const char* time, const char* text1, const char* text2,
                    const char* text3) {
  try {
    return exchange(socket_path, ReqSystemLog(time, text1, text2, text3));
  } catch (...) {
    return -1;
  }
}

}  // namespace sarvik
