// The verifier's digest of a block is the sealer's: the same bytes in any parts give the same.
#include "verify/bulk_digest.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "seal/seal_crypto.h"

namespace sarvik::verify {
namespace {

TEST(BulkDigest, IsTheSealersDigestOfTheSameBytesInAnyParts) {
  ASSERT_TRUE(seal_crypto_ready());
  std::mt19937 random(7);
  BulkDigest bulk;
  for (size_t size : {0, 1, 55, 56, 63, 64, 65, 1000, 100000}) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    SealDigest sealer;
    for (size_t at = 0; at < size;) {
      const size_t part = std::min<size_t>(size - at, 1 + random() % 200);
      sealer.add(bytes.data() + at, part);
      at += part;
    }
    bulk.add(bytes.data(), size);
    EXPECT_EQ(bulk.finish(), sealer.finish()) << size;
  }
}

}  // namespace
}  // namespace sarvik::verify
