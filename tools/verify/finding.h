// What the verifier finds: one change of a log file, or of the sealing state.
#ifndef SARVIK_TOOLS_VERIFY_FINDING_H_
#define SARVIK_TOOLS_VERIFY_FINDING_H_

#include <cstdint>
#include <string>

namespace sarvik::verify {

enum class FindingKind {
  kModified,
  kDeleted,
  kInserted,
  kReordered,
  kTruncated,
  kReplaced,  // another file now has the name
  kMissing,   // a sealed file is gone
  kUnsealed,
  kState,  // the sealing state was altered or rolled back: found with the key only
};

// The word that names `kind` in the output: "modified", "deleted", ...
const char* finding_word(FindingKind kind);

// One finding. A plain value.
struct Finding {
  FindingKind kind;
  std::string file;          // below the volume; for the state, the log's directory
  uint64_t line = 0;         // from 1; 0 when it is about the file or the state as a whole
  uint64_t lines = 0;        // the lines of the file it covers, from `line`
  uint32_t sealed_line = 0;  // the first sealed number it concerns; 0 for none or not known
  std::string explanation;
};

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_FINDING_H_
