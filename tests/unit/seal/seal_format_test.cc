// Tests of the sealing state's bytes: journal records and the key file, written and read back.
#include "seal/seal_format.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sarvik {
namespace {

const uint8_t* bytes_of(const std::string& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

SealRecord line_record() {
  SealRecord record;
  record.type = SealType::kLine;
  record.seq = 0x0102030405060708;
  record.line = 65535;
  record.offset = 0x1122334455;
  record.length = 94;
  record.unsealed_before = 2;
  for (size_t i = 0; i < kSealHashBytes; ++i) record.hash[i] = static_cast<uint8_t>(0xA0 + i);
  for (size_t i = 0; i < kSealTagBytes; ++i) record.tag[i] = static_cast<uint8_t>(0xC0 + i);
  return record;
}

SealRecord file_record(SealType type, const std::string& name) {
  SealRecord record;
  record.type = type;
  record.seq = 7;
  record.device = 0x801;
  record.inode = 123456789;
  record.name = name;
  record.tag.fill(0x5A);
  return record;
}

void expect_same(const SealRecord& a, const SealRecord& b) {
  EXPECT_EQ(a.type, b.type);
  EXPECT_EQ(a.seq, b.seq);
  EXPECT_EQ(a.line, b.line);
  EXPECT_EQ(a.offset, b.offset);
  EXPECT_EQ(a.end, b.end);
  EXPECT_EQ(a.length, b.length);
  EXPECT_EQ(a.unsealed_before, b.unsealed_before);
  EXPECT_EQ(a.hash, b.hash);
  EXPECT_EQ(a.device, b.device);
  EXPECT_EQ(a.inode, b.inode);
  EXPECT_EQ(a.name, b.name);
  EXPECT_EQ(a.tag, b.tag);
}

TEST(SealRecordBytes, ALineRecordIsOneSlotLaidOutLittleEndian) {
  const std::string bytes = encode_seal(line_record());
  ASSERT_EQ(bytes.size(), kSlotBytes);
  const std::string expected =
      std::string("\x01\x00\x00\x00\xff\xff\x00\x00", 8) +  // type, unused, line
      std::string("\x08\x07\x06\x05\x04\x03\x02\x01", 8) +  // seq
      std::string("\x55\x44\x33\x22\x11\x00\x00\x00", 8) +  // offset
      std::string("\x5e\x00\x00\x00\x02\x00\x00\x00", 8) +  // length, unsealed before
      "\xa0\xa1\xa2\xa3\xa4\xa5\xa6\xa7\xa8\xa9\xaa\xab\xac\xad\xae\xaf" +  // hash
      "\xc0\xc1\xc2\xc3\xc4\xc5\xc6\xc7\xc8\xc9\xca\xcb\xcc\xcd\xce\xcf";   // tag
  EXPECT_EQ(bytes, expected);
}

TEST(SealRecordBytes, ALineRecordReadsBack) {
  const std::string bytes = encode_seal(line_record());
  SealRecord read;
  size_t used = 0;
  std::string why;
  ASSERT_EQ(parse_seal(bytes_of(bytes), bytes.size(), &read, &used, &why), SealParse::kRecord);
  EXPECT_EQ(used, kSlotBytes);
  expect_same(read, line_record());
}

TEST(SealRecordBytes, AFileRecordTakesAsManySlotsAsItsNameNeeds) {
  const struct {
    size_t name_bytes;
    size_t slots;
  } cases[] = {{1, 2}, {31, 2}, {64, 2}, {65, 3}, {128, 3}, {kMaxSealName, 6}};
  for (const auto& c : cases) {
    for (SealType type : {SealType::kFile, SealType::kExpired}) {
      SealRecord record = file_record(type, std::string(c.name_bytes, 'n'));
      const std::string bytes = encode_seal(record);
      EXPECT_EQ(bytes.size(), c.slots * kSlotBytes) << c.name_bytes;
      EXPECT_EQ(seal_slots(type, c.name_bytes), c.slots);
      SealRecord read;
      size_t used = 0;
      std::string why;
      ASSERT_EQ(parse_seal(bytes_of(bytes), bytes.size(), &read, &used, &why), SealParse::kRecord)
          << c.name_bytes << why;
      EXPECT_EQ(used, bytes.size());
      expect_same(read, record);
    }
  }
}

TEST(SealRecordBytes, ADigestRecordIsOneSlotAndReadsBack) {
  SealRecord digest;
  digest.type = SealType::kDigest;
  digest.seq = 9;
  digest.line = kDigestLines;
  digest.offset = 3;
  digest.end = 0x123456789;
  digest.hash.fill(0x77);
  digest.tag.fill(0x66);
  const std::string bytes = encode_seal(digest);
  ASSERT_EQ(bytes.size(), kSlotBytes);
  EXPECT_EQ(bytes.substr(0, 8), std::string("\x04\x00\x00\x00\x00\x04\x00\x00", 8));
  EXPECT_EQ(bytes.substr(24, 8), std::string("\x89\x67\x45\x23\x01\x00\x00\x00", 8));
  SealRecord read;
  size_t used = 0;
  std::string why;
  ASSERT_EQ(parse_seal(bytes_of(bytes), bytes.size(), &read, &used, &why), SealParse::kRecord);
  EXPECT_EQ(used, kSlotBytes);
  expect_same(read, digest);
  EXPECT_FALSE(is_line_slot(bytes_of(bytes)));
}

TEST(SealRecordBytes, RecordsFollowOneAnother) {
  std::string journal = encode_seal(file_record(SealType::kFile, "202403/access_1.csv")) +
                        encode_seal(line_record()) + encode_seal(line_record());
  std::vector<SealType> types;
  for (size_t at = 0; at < journal.size();) {
    SealRecord read;
    size_t used = 0;
    std::string why;
    ASSERT_EQ(parse_seal(bytes_of(journal) + at, journal.size() - at, &read, &used, &why),
              SealParse::kRecord);
    types.push_back(read.type);
    at += used;
  }
  EXPECT_EQ(types, (std::vector<SealType>{SealType::kFile, SealType::kLine, SealType::kLine}));
}

TEST(SealRecordBytes, ACutRecordIsIncomplete) {
  const std::string line = encode_seal(line_record());
  const std::string file = encode_seal(file_record(SealType::kFile, std::string(100, 'n')));
  SealRecord read;
  size_t used = 0;
  std::string why;
  EXPECT_EQ(parse_seal(bytes_of(line), 63, &read, &used, &why), SealParse::kIncomplete);
  EXPECT_EQ(parse_seal(bytes_of(file), 64, &read, &used, &why), SealParse::kIncomplete);
  EXPECT_EQ(parse_seal(bytes_of(file), file.size() - 1, &read, &used, &why),
            SealParse::kIncomplete);
}

TEST(SealRecordBytes, BytesThatAreNoRecordAreDamaged) {
  const std::string line = encode_seal(line_record());
  const std::string file = encode_seal(file_record(SealType::kFile, "202403/a.csv"));
  struct Case {
    std::string bytes;
    size_t at;
    char value;
    const char* what;
  };
  const Case cases[] = {
      {line, 0, 0, "a blank record"},
      {line, 0, 5, "an unknown type"},
      {line, 1, 1, "name slots on a line"},
      {file, 1, 2, "more slots than the name needs"},
      {file, 2, 0, "an empty name"},
      {file, 4, 1, "a line number on a file"},
      {file, 40, 1, "hash bytes on a file"},
      {file, kSlotBytes + 20, 1, "padding that is not zero"},
      {file, kSlotBytes + 3, 0, "a zero byte inside the name"},
  };
  for (const Case& c : cases) {
    std::string bytes = c.bytes;
    bytes[c.at] = c.value;
    SealRecord read;
    size_t used = 0;
    std::string why;
    EXPECT_EQ(parse_seal(bytes_of(bytes), bytes.size(), &read, &used, &why), SealParse::kDamaged)
        << c.what;
    EXPECT_FALSE(why.empty()) << c.what;
  }
}

TEST(SealRecordBytes, ANameLongerThanTheLimitIsDamaged) {
  std::string bytes = encode_seal(file_record(SealType::kFile, std::string(kMaxSealName, 'n')));
  bytes[2] = static_cast<char>((kMaxSealName + 1) & 0xFF);
  bytes[3] = static_cast<char>((kMaxSealName + 1) >> 8);
  SealRecord read;
  size_t used = 0;
  std::string why;
  EXPECT_EQ(parse_seal(bytes_of(bytes), bytes.size(), &read, &used, &why), SealParse::kDamaged);
}

KeyFileContent sample_key_file() {
  KeyFileContent content;
  content.created = 1700000000;
  content.fingerprint.fill(0x33);
  for (int chain = 0; chain < kSealChains; ++chain) {
    ChainHead& head = content.chains[chain];
    head.next_seq = 1000 + chain;
    head.key.fill(static_cast<uint8_t>(0x10 + chain));
    head.last_tag.fill(static_cast<uint8_t>(0x20 + chain));
    head.journal_bytes = 64 * (2000 + chain);
    head.run_open = chain != 1;
    head.device = 0x802;
    head.inode = 4242 + chain;
    head.name_hash.fill(static_cast<uint8_t>(0x30 + chain));
    head.next_offset = 123456;
    head.next_line = 65535;
    head.unsealed = static_cast<uint32_t>(chain);
  }
  return content;
}

TEST(KeyFileBytes, ReadsBackWhatWasWritten) {
  uint8_t bytes[kKeyFileBytes];
  encode_key_file(sample_key_file(), bytes);
  KeyFileContent read;
  std::string why;
  ASSERT_TRUE(parse_key_file(bytes, sizeof bytes, &read, &why)) << why;
  const KeyFileContent expected = sample_key_file();
  EXPECT_EQ(read.created, expected.created);
  EXPECT_EQ(read.fingerprint, expected.fingerprint);
  for (int chain = 0; chain < kSealChains; ++chain) {
    const ChainHead& a = read.chains[chain];
    const ChainHead& b = expected.chains[chain];
    EXPECT_EQ(a.next_seq, b.next_seq);
    EXPECT_EQ(a.key, b.key);
    EXPECT_EQ(a.last_tag, b.last_tag);
    EXPECT_EQ(a.journal_bytes, b.journal_bytes);
    EXPECT_EQ(a.run_open, b.run_open);
    EXPECT_EQ(a.device, b.device);
    EXPECT_EQ(a.inode, b.inode);
    EXPECT_EQ(a.name_hash, b.name_hash);
    EXPECT_EQ(a.next_offset, b.next_offset);
    EXPECT_EQ(a.next_line, b.next_line);
    EXPECT_EQ(a.unsealed, b.unsealed);
  }
}

TEST(KeyFileBytes, OneChainIsRewrittenInPlaceAndTheOthersStay) {
  uint8_t bytes[kKeyFileBytes];
  KeyFileContent content = sample_key_file();
  encode_key_file(content, bytes);
  content.chains[1].next_seq = 99;
  content.chains[1].key.fill(0xEE);
  encode_chain_head(content.chains[1], 1, bytes);
  KeyFileContent read;
  std::string why;
  ASSERT_TRUE(parse_key_file(bytes, sizeof bytes, &read, &why)) << why;
  EXPECT_EQ(read.chains[1].next_seq, 99u);
  EXPECT_EQ(read.chains[1].key, content.chains[1].key);
  EXPECT_EQ(read.chains[0].next_seq, 1000u);
  EXPECT_EQ(read.chains[2].next_seq, 1002u);
}

TEST(KeyFileBytes, AnythingElseIsRefusedWithAReason) {
  uint8_t good[kKeyFileBytes];
  encode_key_file(sample_key_file(), good);
  const struct {
    size_t at;
    uint8_t value;
    const char* what;
  } cases[] = {{0, 'X', "magic"}, {8, 2, "version"}, {13, 1, "size"}, {64 + 56, 1, "journal"}};
  for (const auto& c : cases) {
    uint8_t bytes[kKeyFileBytes];
    std::copy(good, good + kKeyFileBytes, bytes);
    bytes[c.at] = c.value;
    KeyFileContent read;
    std::string why;
    EXPECT_FALSE(parse_key_file(bytes, sizeof bytes, &read, &why)) << c.what;
    EXPECT_FALSE(why.empty()) << c.what;
  }
  KeyFileContent read;
  std::string why;
  EXPECT_FALSE(parse_key_file(good, kKeyFileBytes - 1, &read, &why));
}

}  // namespace
}  // namespace sarvik
