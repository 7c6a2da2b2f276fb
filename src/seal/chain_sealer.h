// Sealing one log's lines: each line as a record of the log's chain in its journal.
#ifndef SARVIK_SEAL_CHAIN_SEALER_H_
#define SARVIK_SEAL_CHAIN_SEALER_H_

#include <cstdint>
#include <ostream>
#include <string>

#include "logstore/line_sealer.h"
#include "seal/journal_window.h"
#include "seal/seal_crypto.h"
#include "seal/seal_format.h"

namespace sarvik {

// Seals the lines of one log (chain `chain` of the state). For every line a log wrote it
// appends one record to the journal: the line's file, number, offset and hash, tagged with the
// chain's current key behind the previous record's tag; then the key evolves and the chain's
// head in the mapped key file is rewritten, which overwrites the key used. A line of the file
// that the journal's last run does not cover is preceded by a file record; a record whose text
// holds a CR LF is sealed as the lines a reader sees. Every kDigestLines lines sealed one after
// another in a file are followed by a digest record of their bytes. A file that expiry deleted
// gets an expiry record.
//
// Nothing here fails the log: a line that cannot be sealed stays written unsealed, is counted in
// the next seal of its file, and the first failure of a run of them is told on `errors`, the
// return to sealing on `progress`. The journal is written at the length the head records, so
// what a failed write left is overwritten by the next; through a mapped window (no system call
// per line), and never synced.
//
// Owns the journal's descriptor; `key_file` (the mapped key file) must outlive the object.
// Main thread of the service only.
class ChainSealer final : public LineSealer {
 public:
  ChainSealer(int chain, int journal_fd, std::string journal_path, uint8_t* key_file,
              const ChainHead& head, std::ostream& errors, std::ostream& progress);
  // Closes the journal and erases the key it holds.
  ~ChainSealer();
  ChainSealer(const ChainSealer&) = delete;
  ChainSealer& operator=(const ChainSealer&) = delete;

  void line_written(const WrittenLine& line) override;
  void file_expired(const ExpiredFile& file) override;

 private:
  // Whether `line` is in the file the head follows; takes it up from the head after a start.
  bool in_followed_file(const WrittenLine& line);
  // The number of `line` in its file when the head cannot tell it; 0 when not known.
  uint32_t number_in_file(const WrittenLine& line, bool same_file);
  // Appends a file or expiry record to `records`.
  bool append_file_record(SealType type, const std::string& month, const std::string& name,
                          uint64_t device, uint64_t inode);
  void append_line_record(uint32_t number, uint64_t offset, const char* text, size_t length,
                          uint32_t unsealed_before);
  // Adds a line about to be sealed to the block of lines, and appends the block's digest record
  // when it is full. A line that does not follow the block begins a new one.
  void add_to_block(uint64_t offset, const char* text, size_t length);
  // Writes `records`; true when they are in the journal and the chain went on.
  bool write_records(const std::string& what);
  void save_head();

  const int chain;
  const int journal;
  const std::string journal_path;
  uint8_t* const key_file;
  JournalWindow window;
  ChainHead head;  // the chain's head; its key is the key of the next record
  std::ostream& errors;
  std::ostream& progress;

  // The records being made for one line and the chain as it will stand behind them.
  std::string records;
  uint64_t next_seq = 0;
  ChainKey next_key{};
  SealTag next_tag{};

  // The file the head follows, by name; empty until taken up.
  std::string followed_month;
  std::string followed_name;
  // The block of lines sealed one after another in the followed file since the last digest. It
  // lives in memory only: a block begun before a restart gets no digest.
  SealDigest block;
  uint32_t block_lines = 0;
  uint64_t block_from = 0;
  uint64_t block_to = 0;

  bool failing = false;         // the last write failed and was told
  uint64_t unsealed_lines = 0;  // lines left unsealed since the failure was told
};

}  // namespace sarvik

#endif  // SARVIK_SEAL_CHAIN_SEALER_H_
