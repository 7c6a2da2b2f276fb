// Entry lists: splitting a payload into views and writing a list into a buffer.
#include "protocol/entry_list.h"

#include <gtest/gtest.h>

#include <new>

#include "packet_bytes.h"

namespace sarvik {
namespace {

std::vector<Entry> split(const Bytes& payload) {
  std::vector<Entry> entries;
  split_entries(payload.data(), static_cast<uint16_t>(payload.size()), entries);
  return entries;
}

TEST(SplitEntries, EmptyPayloadGivesAnEmptyListWithoutReadingTheBuffer) {
  std::vector<Entry> entries{Entry{nullptr, 1}};
  split_entries(nullptr, 0, entries);
  EXPECT_TRUE(entries.empty());
}

TEST(SplitEntries, EntryEndingExactlyAtThePayloadEndIsKept) {
  Bytes payload{0, 2, 0, 1, 0, 3, 'a', 'b', 0};
  auto entries = split(payload);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[1].length, 3);
  EXPECT_EQ(entries[1].data, payload.data() + 6);
}

TEST(SplitEntries, EntryEndingOneByteBeyondEndsTheList) {
  Bytes payload{0, 2, 0, 1, 0, 4, 'a', 'b', 0, 0, 1, 'x'};
  payload.resize(9);  // the second entry would end at 10, the third behind it is cut off too
  EXPECT_EQ(split(payload).size(), 1u);
}

TEST(SplitEntries, EntriesBehindAnOverlongOneAreAbsent) {
  Bytes payload{0, 1, 'a', 0, 9, 'b', 0, 1, 'c'};
  auto entries = split(payload);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].length, 1);
}

TEST(SplitEntries, ValueLengthZeroAdvancesByTwo) {
  Bytes payload{0, 0, 0, 0, 0, 1, 'z'};
  auto entries = split(payload);
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].length, 0);
  EXPECT_EQ(entries[1].length, 0);
  EXPECT_EQ(entries[1].data, payload.data() + 4);
  EXPECT_EQ(entries[2].data, payload.data() + 6);
}

TEST(SplitEntries, ValueLength65534StandsStillUntilAllocationFails) {
  Bytes payload{0, 2, 0, 0, 0xff, 0xfe, 0, 0};
  EXPECT_THROW(split(payload), std::bad_alloc);
}

TEST(SplitEntries, ValueLength65535AdvancesByOneIntoItsOwnBytes) {
  Bytes payload{0, 2, 0, 0, 0xff, 0xff, 0xff, 0};
  auto entries = split(payload);
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[1].length, 65535);
  EXPECT_EQ(entries[1].data, payload.data() + 6);
  EXPECT_EQ(entries[2].length, 65535);
  EXPECT_EQ(entries[2].data, payload.data() + 7);
}

TEST(SplitEntries, LengthWordAtTheLastByteReadsAcrossTheEnd) {
  // Under AddressSanitizer this also proves that nothing beyond the payload is touched.
  Bytes payload{0, 2, 0, 0, 0};
  auto entries = split(payload);
  EXPECT_EQ(entries.size(), 1u);
}

TEST(EntriesLength, CountsTheLengthWords) {
  uint8_t value[3] = {1, 2, 3};
  EXPECT_EQ(entries_length({}), 0u);
  EXPECT_EQ(entries_length({Entry{value, 3}, Entry{value, 0}}), 7u);
}

TEST(WriteEntries, WritesLengthWordsAndValuesBackToBack) {
  uint8_t a[2] = {0, 1};
  uint8_t b[2] = {'x', 0};
  Bytes buffer(8, 0xee);
  write_entries({Entry{a, 2}, Entry{b, 2}}, buffer.data(), 8);
  EXPECT_EQ(buffer, (Bytes{0, 2, 0, 1, 0, 2, 'x', 0}));
}

TEST(WriteEntries, DropsTheEntryThatDoesNotFitAndAllBehindIt) {
  uint8_t a[2] = {0, 1};
  uint8_t b[3] = {'l', 'o', 0};
  uint8_t c[1] = {0};
  Bytes buffer(7, 0xee);
  write_entries({Entry{a, 2}, Entry{b, 3}, Entry{c, 1}}, buffer.data(), 7);
  EXPECT_EQ(buffer, (Bytes{0, 2, 0, 1, 0xee, 0xee, 0xee}));
}

TEST(WriteEntries, WritesNothingWhenTheFirstEntryDoesNotFit) {
  uint8_t a[4] = {1, 2, 3, 4};
  Bytes buffer(5, 0xee);
  write_entries({Entry{a, 4}}, buffer.data(), 5);
  EXPECT_EQ(buffer, Bytes(5, 0xee));
}

}  // namespace
}  // namespace sarvik
