// Proving a log's chain with the verification key: every seal in its place and made with the
// key of its place, and the key file at the chain's end.
#ifndef SARVIK_TOOLS_VERIFY_CHAIN_CHECK_H_
#define SARVIK_TOOLS_VERIFY_CHAIN_CHECK_H_

#include <string>
#include <vector>

#include "seal/seal_crypto.h"
#include "seal/seal_format.h"
#include "verify/finding.h"

namespace sarvik::verify {

// Checks the journal open as `fd` of chain `chain`, whose log's directory is `log_dir`, against
// the chain that `key` derives and against the head of that chain in the key file. Every
// record must carry the next number and the tag that the key of that number gives behind the
// record before it, and the journal must end where the head says. What fails is a finding of
// kind state: a gap (seals cut or rolled back), a number that comes again (the journal was
// rolled back and written anew), a tag that does not hold (a seal altered or re-made with a
// later key), a key file that counts more or fewer seals, or whose key is not the one of its
// place (the state was rebuilt). Keys are derived across gaps for at most `most_skipped` seals
// in all, about two seconds' work by default; a number beyond is no seal of this chain. False
// with errno set when the journal cannot be read. Any thread; one call per journal.
inline constexpr uint64_t kMostSkippedSeals = uint64_t{1} << 24;
bool check_chain(int fd, int chain, const std::string& log_dir, const VerificationKey& key,
                 const ChainHead& head, std::vector<Finding>* findings,
                 uint64_t most_skipped = kMostSkippedSeals);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_CHAIN_CHECK_H_
