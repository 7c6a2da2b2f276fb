// The files of the sealing state, and which log each chain seals.
#ifndef SARVIK_SEAL_SEAL_PATHS_H_
#define SARVIK_SEAL_SEAL_PATHS_H_

#include "logstore/log_kinds.h"
#include "seal/seal_format.h"

namespace sarvik {

// Names inside the state's directory.
inline constexpr char kSealKeyFile[] = "key";
inline constexpr mode_t kSealDirMode = 0700;
inline constexpr mode_t kSealFileMode = 0600;

// One log's chain: its log and its journal.
struct SealChain {
  const LogKind* log;
  const char* journal;
};
inline constexpr SealChain kSealChainTable[kSealChains] = {
    {&kSystemLog, "system.seals"}, {&kAccessLog, "access.seals"}, {&kAlertLog, "alert.seals"}};

// The index of the chain of `kind`'s lines (by its directory), or -1 for none.
int seal_chain_of(const LogKind& kind);

}  // namespace sarvik

#endif  // SARVIK_SEAL_SEAL_PATHS_H_
