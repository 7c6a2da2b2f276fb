// Test helpers: packets from byte lists and back.
#ifndef SARVIK_TESTS_UNIT_PROTOCOL_PACKET_BYTES_H_
#define SARVIK_TESTS_UNIT_PROTOCOL_PACKET_BYTES_H_

#include <cstdint>
#include <cstring>
#include <vector>

#include "protocol/packet.h"

namespace sarvik {

using Bytes = std::vector<uint8_t>;

// Fills `packet` with `payload` (at most kMaxPayload bytes).
inline void fill(Packet& packet, const Bytes& payload) {
  packet.set_size(static_cast<uint16_t>(payload.size()));
  if (!payload.empty()) std::memcpy(packet.data, payload.data(), packet.size);
}

inline Packet packet_of(const Bytes& payload) {
  Packet packet;
  fill(packet, payload);
  return packet;
}

inline Bytes payload_of(const Packet& packet) {
  return Bytes(packet.data, packet.data + packet.size);
}

}  // namespace sarvik

#endif  // SARVIK_TESTS_UNIT_PROTOCOL_PACKET_BYTES_H_
