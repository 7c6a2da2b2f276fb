// What the verifier finds: one change of a log file, or of the sealing state.
#include "verify/finding.h"

namespace sarvik::verify {

const char* finding_word(FindingKind kind) {
  switch (kind) {
    case FindingKind::kModified:
      return "modified";
    case FindingKind::kDeleted:
      return "deleted";
    case FindingKind::kInserted:
      return "inserted";
    case FindingKind::kReordered:
      return "reordered";
    case FindingKind::kTruncated:
      return "truncated";
    case FindingKind::kReplaced:
      return "replaced";
    case FindingKind::kMissing:
      return "missing";
    case FindingKind::kUnsealed:
      return "unsealed";
    case FindingKind::kState:
      return "state";
  }
  return "state";
}

}  // namespace sarvik::verify
