// Text handed from the thread that writes a streamed body to the one that sends it.
#ifndef SARVIK_TOOLS_WEB_STREAM_PIPE_H_
#define SARVIK_TOOLS_WEB_STREAM_PIPE_H_

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>

#include "query/text_writer.h"

namespace sarvik::web {

// Holds at most `capacity` bytes: a writer ahead of the client waits, so that a body of any
// size costs no more memory than that. One writer thread, one reader thread; abandon and finish
// from either.
class StreamPipe : public query::TextWriter {
 public:
  // What read returns when no more text will come: all of it was sent, or it ended early.
  static constexpr ssize_t kEnd = -1;
  static constexpr ssize_t kFailed = -2;

  explicit StreamPipe(size_t capacity) : capacity(capacity) {}

  // Waits while the pipe is full. False once the reader has abandoned it.
  bool write(std::string_view text) override;
  bool flush() override;
  // The writer is done: the body is whole, or (`complete` false) it ended early.
  void finish(bool complete);

  // Copies up to `size` bytes of text into `into`, waiting up to `wait` for some. The count
  // copied, 0 when none came in time, or kEnd or kFailed when none will.
  ssize_t read(char* into, size_t size, std::chrono::milliseconds wait);
  // The reader is gone: the writer's writes fail from now on, and a waiting read returns.
  void abandon();

 private:
  const size_t capacity;
  std::mutex mutex;
  std::condition_variable changed;
  std::string held;        // guarded by mutex
  size_t start = 0;        // guarded by mutex: the first byte of `held` not read yet
  bool finished = false;   // guarded by mutex
  bool complete = false;   // guarded by mutex
  bool abandoned = false;  // guarded by mutex
};

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_STREAM_PIPE_H_
