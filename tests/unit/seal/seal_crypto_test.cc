// Tests of the sealing's cryptography: known hashes, the chain of keys, what a tag depends on.
#include "seal/seal_crypto.h"

#include <gtest/gtest.h>

#include <sodium.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace sarvik {
namespace {

std::string hex(const uint8_t* data, size_t size) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    text += kDigits[data[i] >> 4];
    text += kDigits[data[i] & 15];
  }
  return text;
}

template <size_t N>
std::string hex(const std::array<uint8_t, N>& value) {
  return hex(value.data(), N);
}

class SealCrypto : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(seal_crypto_ready()); }
};

TEST_F(SealCrypto, ALineHashIsBlake2bOfSixteenBytes) {
  EXPECT_EQ(hex(seal_hash("", 0)), "cae66941d9efbd404e4d88758ea67670");
  const std::string line = "2024/03/04 09:30:00,alice,pc1,192.0.2.7,open_read,ok,docs,report.txt";
  EXPECT_EQ(hex(seal_hash(line.data(), line.size())), "bf9d143ff5a2faf9523702049dffe9d5");
}

TEST_F(SealCrypto, ADigestIsTheFirstSixteenBytesOfSha256OfItsParts) {
  SealDigest digest;
  digest.add("one\r\n", 5);
  digest.add("two", 3);
  digest.add("\r\n", 2);
  EXPECT_EQ(hex(digest.finish()), "6f4792b265fe72790b344fd3ef529470");
  EXPECT_EQ(hex(digest.finish()), "e3b0c44298fc1c149afbf4c8996fb924");  // it began anew
}

// The sealer adds a line and its line end at a time, the verifier a whole block: both must come
// to SHA-256 of the bytes, here libsodium's, across every boundary of SHA-256's 64-byte blocks.
TEST_F(SealCrypto, ADigestIsSha256OfTheSameBytesInAnyParts) {
  std::mt19937 random(7);
  SealDigest digest;
  for (size_t size : {0, 1, 55, 56, 63, 64, 65, 1000, 100000}) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    for (size_t at = 0; at < size;) {
      const size_t part = std::min<size_t>(size - at, 1 + random() % 200);
      digest.add(bytes.data() + at, part);
      at += part;
    }
    uint8_t full[crypto_hash_sha256_BYTES];
    crypto_hash_sha256(full, reinterpret_cast<const unsigned char*>(bytes.data()), size);
    SealHash expected;
    memcpy(expected.data(), full, expected.size());
    EXPECT_EQ(hex(digest.finish()), hex(expected)) << size;
  }
}

TEST_F(SealCrypto, EachLogHasAChainOfItsOwnAndEachKeyOneFingerprint) {
  VerificationKey key = random_verification_key();
  VerificationKey other = random_verification_key();
  EXPECT_NE(key, other);
  std::set<std::string> firsts;
  for (int chain = 0; chain < kSealChains; ++chain) {
    EXPECT_EQ(first_chain_key(key, chain), first_chain_key(key, chain));
    firsts.insert(hex(first_chain_key(key, chain)));
    firsts.insert(hex(first_chain_key(other, chain)));
  }
  EXPECT_EQ(firsts.size(), 2u * kSealChains);
  EXPECT_EQ(key_fingerprint(key), key_fingerprint(key));
  EXPECT_NE(key_fingerprint(key), key_fingerprint(other));
  for (const std::string& first : firsts) EXPECT_NE(first, hex(key_fingerprint(key)));
}

// The bytes of a line record as the tag sees them.
std::vector<uint8_t> record_bytes(uint8_t fill) { return std::vector<uint8_t>(kSlotBytes, fill); }

TEST_F(SealCrypto, TheKeyEvolvesWithEveryRecordAndFromTheFirstEveryLaterOneFollows) {
  ChainKey first = first_chain_key(random_verification_key(), 1);
  ChainKey key = first;
  SealTag tag{};
  std::vector<SealTag> tags;
  std::set<std::string> keys{hex(key)};
  for (int i = 0; i < 100; ++i) {
    std::vector<uint8_t> record = record_bytes(static_cast<uint8_t>(i));
    tag = seal_tag(key, tag, record.data(), 0, &key);  // the key is overwritten in place
    tags.push_back(tag);
    keys.insert(hex(key));
  }
  EXPECT_EQ(keys.size(), 101u);  // no key comes back
  ChainKey again = first;
  SealTag previous{};
  for (int i = 0; i < 100; ++i) {
    std::vector<uint8_t> record = record_bytes(static_cast<uint8_t>(i));
    ChainKey next;
    previous = seal_tag(again, previous, record.data(), 0, &next);
    EXPECT_EQ(previous, tags[static_cast<size_t>(i)]) << i;
    again = next;
  }
  EXPECT_EQ(again, key);
}

TEST_F(SealCrypto, AKeyAdvancesWithoutARecordAsWithOne) {
  ChainKey key = first_chain_key(random_verification_key(), 2);
  std::vector<uint8_t> record = record_bytes(7);
  ChainKey next;
  seal_tag(key, SealTag{}, record.data(), 0, &next);
  advance_chain_key(&key);
  EXPECT_EQ(key, next);
}

TEST_F(SealCrypto, ATagDependsOnThePreviousTagAndEveryByteItCovers) {
  const ChainKey key = first_chain_key(random_verification_key(), 0);
  std::vector<uint8_t> record(3 * kSlotBytes, 0x41);
  const size_t name_bytes = 100;
  ChainKey next;
  const SealTag base = seal_tag(key, SealTag{}, record.data(), name_bytes, &next);
  SealTag other_previous{};
  other_previous[5] = 1;
  EXPECT_NE(seal_tag(key, other_previous, record.data(), name_bytes, &next), base);
  const ChainKey other_key = first_chain_key(random_verification_key(), 0);
  EXPECT_NE(seal_tag(other_key, SealTag{}, record.data(), name_bytes, &next), base);
  // Every byte of the first slot before the tag, and of the name.
  std::vector<size_t> covered;
  for (size_t at = 0; at < kTagOffset; ++at) covered.push_back(at);
  for (size_t at = kSlotBytes; at < kSlotBytes + name_bytes; ++at) covered.push_back(at);
  for (size_t at : covered) {
    std::vector<uint8_t> changed = record;
    changed[at] ^= 1;
    EXPECT_NE(seal_tag(key, SealTag{}, changed.data(), name_bytes, &next), base) << at;
  }
  // Not the place of the tag itself, nor the padding behind the name.
  for (size_t at : {kTagOffset, kSlotBytes - 1, kSlotBytes + name_bytes}) {
    std::vector<uint8_t> changed = record;
    changed[at] ^= 1;
    EXPECT_EQ(seal_tag(key, SealTag{}, changed.data(), name_bytes, &next), base) << at;
  }
}

}  // namespace
}  // namespace sarvik
