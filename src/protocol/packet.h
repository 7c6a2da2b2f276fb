// A length-framed packet of the socket protocol, and the result packet.
#ifndef SARVIK_PROTOCOL_PACKET_H_
#define SARVIK_PROTOCOL_PACKET_H_

#include <cstdint>

namespace sarvik {

// A payload of at most kMaxPayload bytes, owned by the packet. On the stream it follows a
// big-endian 16-bit length word. A packet belongs to one thread; copying copies the payload.
class Packet {
 public:
  Packet() = default;
  Packet(const Packet& other);
  // Assigning a packet to itself does nothing.
  Packet& operator=(const Packet& other);
  virtual ~Packet();

  // Replaces the buffer by a new one of `requested` bytes, cut to kMaxPayload, and returns the
  // resulting size. A size of 0 leaves no buffer. The new bytes are zero: a short read or a
  // request whose entries did not all fit never carries old heap contents.
  virtual uint16_t set_size(uint16_t requested);

  uint16_t size = 0;        // payload length, never above kMaxPayload
  uint8_t* data = nullptr;  // payload buffer of exactly `size` bytes; null when `size` is 0
};

// The service's answer: a payload of two bytes holding the big-endian result code.
class ResultData : public Packet {
 public:
  // An empty packet for a client to receive into.
  ResultData() = default;
  // A result packet carrying `code`.
  explicit ResultData(uint16_t code);
  using Packet::operator=;
};

}  // namespace sarvik

#endif  // SARVIK_PROTOCOL_PACKET_H_
