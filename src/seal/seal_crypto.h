// The cryptography of sealing: line hashes, block digests, the forward-evolving chain keys and
// record tags, from libsodium and Nettle, well-kept libraries with Debian's security support:
// - a line's hash is BLAKE2b with 16 bytes of output (crypto_generichash), fast on short lines;
// - the digest of a block of lines is SHA-256 cut to 16 bytes, from Nettle, which runs it on the
//   processor's SHA extensions where there are any (four times libsodium's portable SHA-256 on a
//   line, and the verifier hashes whole blocks of a year of logs with it); its 700 relocations
//   cost the service little, where OpenSSL's would cost 400 kB of private memory;
// - a chain's key evolves with every record in the manner of a fast-key-erasure generator: one
//   ChaCha20 block under the current key (crypto_stream_chacha20) gives the one-time key of the
//   record and the next key, and the current key is then overwritten. From a later key no earlier
//   one can be computed; from the first every later one can;
// - a record's tag is Poly1305 (crypto_onetimeauth) under its one-time key, over the previous
//   record's tag and the record, so the records form one chain;
// - the first key of each log's chain derives from the verification key by crypto_kdf.
#ifndef SARVIK_SEAL_SEAL_CRYPTO_H_
#define SARVIK_SEAL_SEAL_CRYPTO_H_

#include <nettle/sha2.h>
#include <sodium.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "seal/seal_format.h"

namespace sarvik {

inline constexpr size_t kVerificationKeyBytes = 32;
using VerificationKey = std::array<uint8_t, kVerificationKeyBytes>;

// Initialises libsodium; false when it cannot be used. Any thread, any number of times.
bool seal_crypto_ready();

// BLAKE2b of `size` bytes at `data`, 16 bytes long. Any thread.
SealHash seal_hash(const char* data, size_t size);

// SHA-256 of bytes given in parts, its first 16 bytes: the digest of a block of lines, as the
// sealer makes it and the verifier checks it. A value; one object per thread.
class SealDigest {
 public:
  SealDigest();
  void add(const char* data, size_t size);
  // The digest of what was added since the last finish(); the object begins anew.
  SealHash finish();

 private:
  sha256_ctx state;
};

// A fresh random verification key.
VerificationKey random_verification_key();
// The first key of chain `chain` (0 system, 1 access, 2 alert log) of `key`.
ChainKey first_chain_key(const VerificationKey& key, int chain);
// What the key file keeps to tell the verification key it was made with.
KeyFingerprint key_fingerprint(const VerificationKey& key);

// The tag of the record whose bytes are at `record` (its first slot, the name in the slots
// after it, `name_bytes` long), made with `key` behind `previous`; `*next` receives the key of
// the record after it. `key` and `*next` may be the same object: the key is then overwritten.
SealTag seal_tag(const ChainKey& key, const SealTag& previous, const uint8_t* record,
                 size_t name_bytes, ChainKey* next);

// The key after `*key`, in its place, for a record that is not there to be tagged.
void advance_chain_key(ChainKey* key);

// Overwrites `size` bytes at `data` in a way the compiler does not leave out.
void erase_secret(void* data, size_t size);

}  // namespace sarvik

#endif  // SARVIK_SEAL_SEAL_CRYPTO_H_
