// Verifying one log file against its seals.
#ifndef SARVIK_TOOLS_VERIFY_FILE_CHECK_H_
#define SARVIK_TOOLS_VERIFY_FILE_CHECK_H_

#include <cstdint>
#include <string>
#include <vector>

#include "query/log_tree.h"
#include "query/problems.h"
#include "verify/finding.h"
#include "verify/journal_index.h"
#include "verify/line_hashing.h"

namespace sarvik::verify {

// What the verification of one file found.
struct FileVerdict {
  std::string file;       // below the volume
  bool gone = false;      // the file is not there
  bool expired = false;   // it is not there because the service's expiry deleted it
  uint64_t verified = 0;  // lines that stand as sealed
  std::vector<Finding> findings;
};

// One file to verify: its name, its seals (null when the journal holds none) and whether the
// listing of the tree found it.
struct FileToVerify {
  std::string month;
  std::string name;
  const SealedFile* sealed = nullptr;
  bool listed = false;
  // Its size when it was listed, and the size of its log's journal just before: the lines the
  // service writes later, whose seals come behind that, are not looked at.
  uint64_t size = UINT64_MAX;
  uint64_t journal_size = UINT64_MAX;
};

// What one thread reuses from file to file, so that a file costs no fresh memory.
struct VerifyScratch {
  HashScratch hashing;
  std::vector<SealHash> lines;
  std::vector<SealedLine> seals;
};

// Verifies one file of `tree` against its seals, read from the journal `journal_fd`: its whole
// lines (a last line without its line end is still being written and not looked at) matched
// with the seals of the file now standing under the name, its identity against the sealed one,
// and files of the name that are gone. A file that cannot be read is told to `problems` as an
// error. `scratch` is the calling thread's; any thread.
FileVerdict verify_file(const query::LogTree& tree, const FileToVerify& file, int journal_fd,
                        VerifyScratch& scratch, query::Problems& problems);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_FILE_CHECK_H_
