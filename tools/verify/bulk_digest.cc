// The digest of a block of lines as the verifier takes it: the sealer's SHA-256, by OpenSSL.
#include "verify/bulk_digest.h"

#include <openssl/evp.h>

#include <cstring>

namespace sarvik::verify {

namespace {

// SHA-256, fetched once for the process and kept.
const EVP_MD* sha256() {
  static EVP_MD* const kSha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr);
  return kSha256;
}

}  // namespace

BulkDigest::BulkDigest() : context(EVP_MD_CTX_new()) {
  EVP_DigestInit_ex2(context, sha256(), nullptr);
}

BulkDigest::~BulkDigest() { EVP_MD_CTX_free(context); }

void BulkDigest::add(const char* data, size_t size) { EVP_DigestUpdate(context, data, size); }

SealHash BulkDigest::finish() {
  unsigned char full[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  EVP_DigestFinal_ex(context, full, &length);
  EVP_DigestInit_ex(context, nullptr, nullptr);
  SealHash hash;
  memcpy(hash.data(), full, hash.size());
  return hash;
}

}  // namespace sarvik::verify
