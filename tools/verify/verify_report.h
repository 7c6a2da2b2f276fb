// Writing what the verifier found: a line per finding, a summary per file and a total, as text
// or as JSON objects.
#ifndef SARVIK_TOOLS_VERIFY_VERIFY_REPORT_H_
#define SARVIK_TOOLS_VERIFY_VERIFY_REPORT_H_

#include <cstdint>
#include <ostream>
#include <vector>

#include "verify/file_check.h"

namespace sarvik::verify {

enum class StateProof {
  kNotProven,  // no verification key was given
  kProven,     // the key proved every chain verified
  kAltered,    // the key found the state altered
};

// Writes to `out`, in the order it is given: text, one line each,
//   FILE:LINE: KIND: explanation      (FILE: KIND: explanation for a whole file or the state)
//   FILE: ok, N lines verified        (or "N lines verified, K findings", or expired)
//   total: F files, N lines verified, K findings
//   state: ...
// or, with `json`, one JSON object per line for each of them. File names come from a tree that
// anybody may write: text shows them escaped as a terminal may show them. One thread.
class VerifyReport {
 public:
  VerifyReport(std::ostream& out, bool json) : out(out), json(json) {}

  void file(const FileVerdict& verdict);
  // Findings of the state of one chain.
  void state(const std::vector<Finding>& findings);
  void total(StateProof proof, uint64_t seals);

  uint64_t findings() const { return finding_count; }

 private:
  void finding(const Finding& finding);

  std::ostream& out;
  const bool json;
  uint64_t file_count = 0;
  uint64_t verified = 0;
  uint64_t finding_count = 0;
};

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_VERIFY_REPORT_H_
