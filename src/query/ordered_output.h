// The output of files scanned side by side, written in the order of the files.
#ifndef SARVIK_QUERY_ORDERED_OUTPUT_H_
#define SARVIK_QUERY_ORDERED_OUTPUT_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "query/text_writer.h"

namespace sarvik::query {

// Where reading resumes behind a line that was written: a place in the line's file, as the
// scanner's FileProgress gives it.
struct ResumePoint {
  uint64_t offset = 0;
  uint64_t line = 0;
};

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
  // the file is the head. False when no more lines of this file are wanted. Under a limit,
  // `resume` is kept for the line, to tell where the output was cut.
  bool line_done(size_t index, const ResumePoint& resume = ResumePoint());
  // The file is complete: its slot is written when its turn comes.
  void end_file(size_t index);

  // No more output is wanted: the limit was reached, the output cannot be written, or close
  // was called.
  bool closed();
  // Wants no more output, as if the limit was reached: waiting workers go on and stop.
  void close();
  // The lines written, and whether writing ever failed.
  uint64_t lines_written();
  bool failed();
  // When the limit cut the output: true, with the file of the last line written and the point
  // behind that line. False when every line was written.
  bool cut_at(size_t* file, ResumePoint* resume);

 private:
  struct Slot {
    std::string text;
    std::vector<size_t> line_ends;     // kept only under a limit: where each line's text ends
    std::vector<ResumePoint> resumes;  // kept only under a limit: behind each line
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
  bool cut = false;           // guarded by mutex: the limit closed the output
  size_t cut_file = 0;        // guarded by mutex
  ResumePoint cut_resume;     // guarded by mutex
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_ORDERED_OUTPUT_H_
