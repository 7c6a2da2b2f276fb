// Requests: building the two kinds, taking them from packets, reading their entries.
#include "protocol/request_data.h"

#include <gtest/gtest.h>

#include <string>

#include "packet_bytes.h"

namespace sarvik {
namespace {

TEST(SystemLogRequest, BuildsTheDocumentedBytes) {
  ReqSystemLog request("1700000000", "a", "b", "c");
  Bytes expected{0x00, 0x02, 0x00, 0x01, 0x00, 0x0B, 0x31, 0x37, 0x30, 0x30,
                 0x30, 0x30, 0x30, 0x30, 0x30, 0x30, 0x00, 0x00, 0x02, 0x61,
                 0x00, 0x00, 0x02, 0x62, 0x00, 0x00, 0x02, 0x63, 0x00};
  EXPECT_EQ(request.size, 0x1D);
  EXPECT_EQ(payload_of(request), expected);
  ASSERT_EQ(request.entries.size(), 5u);
  EXPECT_EQ(request.type(), 1);
  EXPECT_EQ(request.text_entry(1), "1700000000");
  EXPECT_EQ(request.text_entry(4), "c");
}

TEST(AccessLogRequest, CarriesNineEntriesWithNumbersInWireOrder) {
  ReqAccessLog request("alice", "pc1", "192.0.2.7", "open", 1, 13, "docs", "r|dir/x");
  ASSERT_EQ(request.entries.size(), 9u);
  EXPECT_EQ(request.type(), 0);
  EXPECT_EQ(request.entries[5].length, 2);
  EXPECT_EQ(request.entries[6].length, 4);
  EXPECT_EQ(Bytes(request.entries[6].data, request.entries[6].data + 4), (Bytes{0, 13, 0, 0}));
  EXPECT_EQ(request.number_entry(5), 1);
  EXPECT_EQ(request.number_entry(6), 13);
  EXPECT_EQ(request.text_entry(8), "r|dir/x");
}

TEST(AccessLogRequest, EmptyTextsGiveEntriesHoldingOnlyTheNul) {
  ReqAccessLog request("", "", "", "", 0, 0, "", "");
  ASSERT_EQ(request.entries.size(), 9u);
  for (size_t i : {1, 2, 3, 4, 7, 8}) {
    EXPECT_EQ(request.entries[i].length, 1) << i;
    EXPECT_EQ(request.entries[i].data[0], 0) << i;
  }
}

TEST(AccessLogRequest, FieldsBeyond4096BytesAreDroppedAndTheRestStandsFirst) {
  std::string long_path(5000, 'p');
  ReqAccessLog request("u", "h", "i", "o", 1, 0, "s", long_path.c_str());
  EXPECT_EQ(request.size, 4096);
  // The eight entries that fitted stand first; the path did not fit, and the rest of the
  // payload is walked as it stands.
  ASSERT_GE(request.entries.size(), 8u);
  EXPECT_EQ(request.text_entry(1), "u");
  EXPECT_EQ(request.text_entry(7), "s");
  EXPECT_EQ(request.entries[8].length, 0);
}

TEST(TypedRequest, SystemRequestFromAnAccessPacketIsEmpty) {
  ReqAccessLog access("u", "h", "i", "o", 1, 0, "s", "p");
  ReqSystemLog system(access);
  EXPECT_EQ(system.size, 0);
  EXPECT_EQ(system.data, nullptr);
  EXPECT_TRUE(system.entries.empty());
}

TEST(TypedRequest, AccessRequestFromASystemPacketIsEmpty) {
  ReqSystemLog system("1", "a", "b", "c");
  ReqAccessLog access(system);
  EXPECT_EQ(access.size, 0);
  EXPECT_TRUE(access.entries.empty());
}

TEST(TypedRequest, TakesTheTypeFromPayloadBytesTwoAndThree) {
  // The first length word says 5, but only bytes 2 and 3 decide the kind.
  Packet packet = packet_of({0, 5, 0, 1, 0, 2, 'x', 0});
  ReqSystemLog request(packet);
  EXPECT_EQ(request.size, 8);
}

TEST(TypedRequest, PayloadTooShortForATypeIsNoRequest) {
  Packet packet = packet_of({0, 2, 0});
  RequestData request;
  request = packet;
  EXPECT_EQ(request.type(), RequestData::kNoType);
  EXPECT_EQ(ReqSystemLog(packet).size, 0);
}

TEST(TypedRequest, CopiesThePayloadSoEntriesPointIntoItsOwnBuffer) {
  ReqSystemLog original("5", "a", "b", "c");
  ReqSystemLog copy(static_cast<const Packet&>(original));
  ASSERT_EQ(copy.entries.size(), 5u);
  EXPECT_NE(copy.data, original.data);
  EXPECT_GE(copy.entries[1].data, copy.data);
  EXPECT_LT(copy.entries[4].data, copy.data + copy.size);
}

TEST(RequestAssignment, AssigningToItselfChangesNothing) {
  ReqSystemLog request("5", "a", "b", "c");
  const uint8_t* buffer = request.data;
  Packet& alias = request;
  request = alias;
  EXPECT_EQ(request.data, buffer);
  EXPECT_EQ(request.entries.size(), 5u);
}

TEST(RequestAssignment, AssigningAPacketSplitsItsPayload) {
  RequestData request;
  request = packet_of({0, 2, 0, 1, 0, 1, 0});
  EXPECT_EQ(request.entries.size(), 2u);
}

TEST(EntryReading, TextRunsToTheFirstNulWhateverTheEntryLength) {
  RequestData request;
  request = packet_of({0, 2, 0, 1, 0, 1, 'a', 'b', 0, 0, 1, 0});
  EXPECT_EQ(request.text_entry(1), "ab");
}

TEST(EntryReading, TextWithoutANulEndsWithThePayload) {
  RequestData request;
  request = packet_of({0, 2, 0, 1, 0, 2, 'h', 'i'});
  EXPECT_EQ(request.text_entry(1), "hi");
}

TEST(EntryReading, MissingEntriesReadAsEmptyTextAndZero) {
  RequestData request;
  request = packet_of({0, 2, 0, 1});
  EXPECT_EQ(request.text_entry(3), "");
  EXPECT_EQ(request.number_entry(5), 0);
}

TEST(EntryReading, EntriesStartingBeyondThePayloadReadAsEmpty) {
  RequestData request;
  request = packet_of({0, 2, 0, 0, 0xff, 0xff, 0xff, 0});
  ASSERT_EQ(request.entries.size(), 3u);
  EXPECT_EQ(request.text_entry(2), "");
  EXPECT_EQ(request.number_entry(2), 0);
  EXPECT_EQ(request.number_entry(1), 0xff00);
}

}  // namespace
}  // namespace sarvik
