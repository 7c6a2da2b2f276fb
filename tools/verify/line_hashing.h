// Reading a log file's lines back: the proof that a file stands exactly as sealed, a block of
// lines at a time, and the hashes of all its lines for matching them with their seals.
#ifndef SARVIK_TOOLS_VERIFY_LINE_HASHING_H_
#define SARVIK_TOOLS_VERIFY_LINE_HASHING_H_

#include <cstdint>
#include <string>
#include <vector>

#include "query/chunk_reader.h"
#include "seal/seal_crypto.h"
#include "verify/journal_index.h"
#include "verify/line_matching.h"

namespace sarvik::verify {

// What one thread reuses from file to file, so that a file costs no fresh memory.
struct HashScratch {
  query::ChunkReader reader;
  SealDigest digest;
  std::string long_line;          // a line longer than the reader holds, gathered from its pieces
  std::vector<SealedLine> loose;  // seals of lines that no digest covers
};

// Whether the file `fd` holds exactly the lines that `generation` sealed, from its first byte
// to its last whole line in its first `size` bytes (the seals of lines behind them left out
// when they stand behind the journal's first `journal_size` bytes: made after the listing):
// every block that a digest covers gives that digest, and every other line hashes as its seal.
// Reads only the seals of the lines no digest covers. `*verified` receives the lines so proven.
// False when the file is otherwise, or cannot be read; then it is matched line by line.
bool stands_as_sealed(int fd, int journal_fd, const SealedGeneration& generation, uint64_t size,
                      uint64_t journal_size, HashScratch& scratch, uint64_t* verified);

// The hashes of the whole lines of `fd` that end in its first `size` bytes, in file order, as
// the logs' readers number them (a last line without its line end is left), into `*hashes`.
// False with errno set when the file cannot be read.
bool hash_each_line(int fd, uint64_t size, HashScratch& scratch, std::vector<SealHash>* hashes);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_LINE_HASHING_H_
