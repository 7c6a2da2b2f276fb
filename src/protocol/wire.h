// Constants and byte order of the socket's wire format.
#ifndef SARVIK_PROTOCOL_WIRE_H_
#define SARVIK_PROTOCOL_WIRE_H_

#include <cstdint>

namespace sarvik {

// Largest payload a packet holds in memory; longer announced lengths are cut to it.
inline constexpr uint16_t kMaxPayload = 4096;
// Bytes of the length word in front of every packet and every list entry.
inline constexpr uint16_t kLengthWordSize = 2;
// Request types, the value of a request's first entry.
inline constexpr uint16_t kAccessLogType = 0;
inline constexpr uint16_t kSystemLogType = 1;
// Payload bytes a request needs before its type can be read: the type entry's length word and
// the type itself.
inline constexpr uint16_t kTypeEnd = 4;
// The only result code the service sends.
inline constexpr uint16_t kResultOk = 0;

// Reads a big-endian 16-bit number from two bytes.
inline uint16_t read_be16(const uint8_t* bytes) {
  return static_cast<uint16_t>((bytes[0] << 8) | bytes[1]);
}

// Writes `value` as two big-endian bytes.
inline void write_be16(uint8_t* bytes, uint16_t value) {
  bytes[0] = static_cast<uint8_t>(value >> 8);
  bytes[1] = static_cast<uint8_t>(value & 0xff);
}

}  // namespace sarvik

#endif  // SARVIK_PROTOCOL_WIRE_H_
