// A length-framed packet of the socket protocol, and the result packet.
#include "protocol/packet.h"

#include <cstring>

#include "protocol/wire.h"

namespace sarvik {

Packet::Packet(const Packet& other) : Packet() { *this = other; }

Packet& Packet::operator=(const Packet& other) {
  if (this == &other) return *this;
  set_size(other.size);
  if (size != 0) std::memcpy(data, other.data, size);
  return *this;
}

Packet::~Packet() { delete[] data; }

uint16_t Packet::set_size(uint16_t requested) {
  delete[] data;
  data = nullptr;
  size = requested > kMaxPayload ? kMaxPayload : requested;
  if (size != 0) data = new uint8_t[size]();
  return size;
}

ResultData::ResultData(uint16_t code) {
  set_size(kLengthWordSize);
  write_be16(data, code);
}

}  // namespace sarvik
