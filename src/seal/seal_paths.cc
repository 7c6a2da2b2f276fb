// The files of the sealing state, and which log each chain seals.
#include "seal/seal_paths.h"

#include <cstring>

namespace sarvik {

int seal_chain_of(const LogKind& kind) {
  for (int chain = 0; chain < kSealChains; ++chain) {
    if (strcmp(kSealChainTable[chain].log->subdir, kind.subdir) == 0) return chain;
  }
  return -1;
}

}  // namespace sarvik
