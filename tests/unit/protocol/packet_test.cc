// Packets: size limits, copies and the result packet.
#include "protocol/packet.h"

#include <gtest/gtest.h>

#include "packet_bytes.h"

namespace sarvik {
namespace {

TEST(PacketSize, LengthAbove4096IsCutTo4096) {
  Packet packet;
  EXPECT_EQ(packet.set_size(4097), 4096);
  EXPECT_EQ(packet.size, 4096);
  EXPECT_NE(packet.data, nullptr);
  EXPECT_EQ(packet.set_size(65535), 4096);
}

TEST(PacketSize, LengthOf4096IsKept) {
  Packet packet;
  EXPECT_EQ(packet.set_size(4096), 4096);
  EXPECT_EQ(packet.size, 4096);
}

TEST(PacketSize, LengthZeroLeavesNoBuffer) {
  Packet packet;
  packet.set_size(10);
  EXPECT_EQ(packet.set_size(0), 0);
  EXPECT_EQ(packet.data, nullptr);
}

TEST(PacketCopy, CopiesThePayloadBytes) {
  Packet source = packet_of({1, 2, 3});
  Packet copy(source);
  EXPECT_EQ(payload_of(copy), (Bytes{1, 2, 3}));
  EXPECT_NE(copy.data, source.data);
  Packet assigned;
  assigned = source;
  EXPECT_EQ(payload_of(assigned), (Bytes{1, 2, 3}));
}

TEST(PacketCopy, AssigningAPacketToItselfChangesNothing) {
  Packet packet = packet_of({9, 8, 7});
  const uint8_t* buffer = packet.data;
  Packet& alias = packet;
  packet = alias;
  EXPECT_EQ(packet.data, buffer);
  EXPECT_EQ(payload_of(packet), (Bytes{9, 8, 7}));
}

TEST(ResultPacket, CarriesTheCodeBigEndian) {
  EXPECT_EQ(payload_of(ResultData(0)), (Bytes{0, 0}));
  EXPECT_EQ(payload_of(ResultData(0x1234)), (Bytes{0x12, 0x34}));
  ResultData empty;
  EXPECT_EQ(empty.size, 0);
}

}  // namespace
}  // namespace sarvik
