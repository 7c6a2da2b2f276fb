// The digest of a block of lines as the verifier takes it: the sealer's SHA-256, by OpenSSL.
#ifndef SARVIK_TOOLS_VERIFY_BULK_DIGEST_H_
#define SARVIK_TOOLS_VERIFY_BULK_DIGEST_H_

#include <cstddef>

#include "seal/seal_format.h"

// OpenSSL's digest context (EVP_MD_CTX), known here by its name alone.
struct evp_md_ctx_st;

namespace sarvik::verify {

// The same digest as SealDigest (SHA-256, its first 16 bytes), from OpenSSL, which runs it on
// the processor's SHA extensions where there are any: the verifier hashes whole blocks of a year
// of logs, and hashing is most of its time. Owns its context; one object per thread.
class BulkDigest {
 public:
  BulkDigest();
  ~BulkDigest();
  BulkDigest(const BulkDigest&) = delete;
  BulkDigest& operator=(const BulkDigest&) = delete;

  void add(const char* data, size_t size);
  // The digest of what was added since the last finish(); the object begins anew.
  SealHash finish();

 private:
  ::evp_md_ctx_st* context;
};

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_BULK_DIGEST_H_
