// The output of files scanned side by side, written in the order of the files.
#ifndef SARVIK_TOOLS_LOG_ORDERED_OUTPUT_H_
#define SARVIK_TOOLS_LOG_ORDERED_OUTPUT_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "text_writer.h"

namespace sarvik::log_query {

// Workers format the lines of a file each into the file's slot; the slots are written in file
// order. The file being written (the head) streams its text as soon as a batch is full; the
// others wait in memory, up to a bound per file beyond which their worker waits for its turn,
// and a worker may run only `window` files ahead of the head, so that memory stays bounded
// however the work is shared out. A limit on the number of lines cuts the
// output after exactly that many, counted in file order. Thread-safe; each slot is filled by
// the one worker that began its file.
class OrderedOutput {
 public:
  // `limit` 0: no limit.
  OrderedOutput(TextWriter& out, size_t files, size_t window, uint64_t limit);

  // Waits until file `index` may be begun; false when the output is closed and no more is
  // wanted.
  bool begin_file(size_t index);
  // The text of file `index`, to append one line's output to, then call line_done.
  std::string& text(size_t index) { return slots[index]->text; }
  // After one line's output was appended: counts it, and writes the batch when it is full and
  // the file is the head. False when no more lines of this file are wanted.
  bool line_done(size_t index);
  // The file is complete: its slot is written when its turn comes.
  void end_file(size_t index);

  // No more output is wanted: the limit was reached or the output cannot be written.
  bool closed();
  // The lines written, and whether writing ever failed.
  uint64_t lines_written();
  bool failed();

 private:
  struct Slot {
    std::string text;
    std::vector<size_t> line_ends;  // kept only under a limit: where each line's text ends
    uint64_t lines = 0;
    bool done = false;
  };

  // Writes what slot `index` holds, as far as the limit allows. Called with `mutex` held.
  void write_slot(Slot& slot);

  TextWriter& out;
  const size_t window;
  const uint64_t limit;
  std::vector<std::unique_ptr<Slot>> slots;
  std::mutex mutex;
  std::condition_variable turn;
  size_t head = 0;            // guarded by mutex
  uint64_t written = 0;       // guarded by mutex
  bool is_closed = false;     // guarded by mutex
  bool write_failed = false;  // guarded by mutex
};

}  // namespace sarvik::log_query

#endif  // SARVIK_TOOLS_LOG_ORDERED_OUTPUT_H_
