// Matching the lines of a file with the seals made for it: what still stands where it was sealed,
// and what was changed, dropped, forged or moved.
#ifndef SARVIK_TOOLS_VERIFY_LINE_MATCHING_H_
#define SARVIK_TOOLS_VERIFY_LINE_MATCHING_H_

#include <cstdint>
#include <vector>

#include "seal/seal_format.h"

namespace sarvik::verify {

// One seal of a file's line, in the order of sealing.
struct SealedLine {
  uint32_t line;             // its number when sealed, from 1; 0 when the service did not know it
  uint32_t unsealed_before;  // lines the service wrote just before it without a seal
  SealHash hash;
  uint64_t offset = 0;  // of the line in its file
  bool late = false;    // made after the file was listed
};

enum class LineVerdict {
  kModified,   // the line differs from the one sealed at its place
  kDeleted,    // sealed lines are gone from between the lines that stand
  kInserted,   // a line the service never wrote
  kReordered,  // a sealed line found at another place
  kTruncated,  // the file ends before its last sealed lines
  kUnsealed,   // lines written before the first seal, after the last, or while sealing failed
};

// A run of one verdict: lines of the file one after another, and the seals they concern, also
// one after another. For deleted and truncated seals, `first_line` is where they belong (the
// line now standing there, or the file's last line plus one) and `line_count` is 0.
struct LineFinding {
  LineVerdict verdict;
  uint64_t first_line;  // from 1
  uint64_t line_count;
  uint32_t first_sealed;  // sealed numbers of the first and last seal concerned (0: not known)
  uint32_t last_sealed;
  uint64_t sealed_count;  // 0 for inserted and unsealed lines
};

struct MatchResult {
  uint64_t verified = 0;              // lines that stand where they were sealed, as sealed
  std::vector<LineFinding> findings;  // in the order of the file
};

// Matches `lines` (the hashes of a file's whole lines, in file order) with `seals`. Lines are
// matched with seals by their hashes, not by their places, so a deletion, an insertion and a
// move are told apart: the longest run of lines that stand in the order of their seals is what
// stands in place; a line matched with a seal outside it was moved; what is left between two
// lines that stand pairs up as modified lines, and the rest are seals deleted or lines inserted.
// Lines before the first seal are unsealed as far as the first seal's number allows, and lines
// after the last seal are unsealed. Equal lines match their seals in order. Pure function;
// linear in the common case of an unchanged file, O(n log n) otherwise.
MatchResult match_lines(const std::vector<SealedLine>& seals, const std::vector<SealHash>& lines);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_LINE_MATCHING_H_
