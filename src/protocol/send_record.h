// The client side of the protocol: deliver one record and return the service's answer.
#ifndef SARVIK_PROTOCOL_SEND_RECORD_H_
#define SARVIK_PROTOCOL_SEND_RECORD_H_

#include <cstdint>

namespace sarvik {

// Sends one access record to the service listening on `socket_path` over a connection of its
// own, and returns the result code of the answer, or -1 when the record could not be sent, no
// answer came, or the answer had no payload. Never throws. Safe to call from any thread.
int send_access_log(const char* socket_path, const char* user, const char* host, const char* ipaddr,
                    const char* operation, uint16_t status, uint16_t error_number,
                    const char* share, const char* path);

// The same for one system record: its time as decimal text and three free texts.
int send_system_log(const char* socket_path, const char* time, const char* text1, const char* text2,
                    const char* text3);

}  // namespace sarvik

#endif  // SARVIK_PROTOCOL_SEND_RECORD_H_
