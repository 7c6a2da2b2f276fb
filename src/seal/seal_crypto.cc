// The cryptography of sealing: line hashes, block digests, the forward-evolving chain keys and
// record tags.
#include "seal/seal_crypto.h"

#include <sodium.h>

#include <cstring>

namespace sarvik {

namespace {

// The context of the first keys' derivation, and of the fingerprint.
constexpr char kKdfContext[crypto_kdf_CONTEXTBYTES] = {'s', 'a', 'r', 'v', 's', 'e', 'a', 'l'};
constexpr uint64_t kFingerprintId = 100;

// The bytes one Poly1305 input holds at most: previous tag, first slot, longest name.
constexpr size_t kMostTagged = kSealTagBytes + kTagOffset + kMaxSealName;

static_assert(crypto_kdf_KEYBYTES == kVerificationKeyBytes);
static_assert(crypto_stream_chacha20_KEYBYTES == kChainKeyBytes);
static_assert(crypto_onetimeauth_KEYBYTES + kChainKeyBytes == 64);
static_assert(crypto_onetimeauth_BYTES == kSealTagBytes);

}  // namespace

bool seal_crypto_ready() { return sodium_init() >= 0; }

SealHash seal_hash(const char* data, size_t size) {
  SealHash hash;
  crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(data), size,
                     nullptr, 0);
  return hash;
}

SealDigest::SealDigest() { sha256_init(&state); }

void SealDigest::add(const char* data, size_t size) {
  sha256_update(&state, size, reinterpret_cast<const uint8_t*>(data));
}

// Nettle's digest begins the context anew.
SealHash SealDigest::finish() {
  SealHash hash;
  sha256_digest(&state, hash.size(), hash.data());
  return hash;
}

VerificationKey random_verification_key() {
  VerificationKey key;
  randombytes_buf(key.data(), key.size());
  return key;
}

ChainKey first_chain_key(const VerificationKey& key, int chain) {
  ChainKey first;
  crypto_kdf_derive_from_key(first.data(), first.size(), static_cast<uint64_t>(chain) + 1,
                             kKdfContext, key.data());
  return first;
}

KeyFingerprint key_fingerprint(const VerificationKey& key) {
  KeyFingerprint print;
  crypto_kdf_derive_from_key(print.data(), print.size(), kFingerprintId, kKdfContext, key.data());
  return print;
}

namespace {

// The block of the chain under `key`: its first half is the one-time key of the record, its
// second half the next key.
void chain_block(const ChainKey& key, uint8_t* block) {
  static const uint8_t kZeroNonce[crypto_stream_chacha20_NONCEBYTES] = {};
  crypto_stream_chacha20(block, crypto_onetimeauth_KEYBYTES + kChainKeyBytes, kZeroNonce,
                         key.data());
}

}  // namespace

void advance_chain_key(ChainKey* key) {
  uint8_t block[crypto_onetimeauth_KEYBYTES + kChainKeyBytes];
  chain_block(*key, block);
  memcpy(key->data(), block + crypto_onetimeauth_KEYBYTES, kChainKeyBytes);
  erase_secret(block, sizeof block);
}

SealTag seal_tag(const ChainKey& key, const SealTag& previous, const uint8_t* record,
                 size_t name_bytes, ChainKey* next) {
  uint8_t block[crypto_onetimeauth_KEYBYTES + kChainKeyBytes];
  chain_block(key, block);
  uint8_t input[kMostTagged];
  if (name_bytes > kMaxSealName) name_bytes = kMaxSealName;
  memcpy(input, previous.data(), kSealTagBytes);
  memcpy(input + kSealTagBytes, record, kTagOffset);
  memcpy(input + kSealTagBytes + kTagOffset, record + kSlotBytes, name_bytes);
  SealTag tag;
  crypto_onetimeauth(tag.data(), input, kSealTagBytes + kTagOffset + name_bytes, block);
  memcpy(next->data(), block + crypto_onetimeauth_KEYBYTES, kChainKeyBytes);
  erase_secret(block, sizeof block);
  return tag;
}

void erase_secret(void* data, size_t size) { sodium_memzero(data, size); }

}  // namespace sarvik
