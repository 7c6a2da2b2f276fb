// Reading a log file in large blocks, handed over as chunks of whole records.
#ifndef SARVIK_QUERY_CHUNK_READER_H_
#define SARVIK_QUERY_CHUNK_READER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sarvik::query {

// A run of whole records of a file: each ends in CR LF, the last one at `end`, except in a cut
// chunk, whose last record has no line end because it is longer than the reader holds.
struct Chunk {
  const char* begin;
  const char* end;
  uint64_t offset;  // of `begin` in the file
  bool cut;
};

// Reads files with pread into one reused buffer, so that a scan allocates nothing per line and
// holds at most a few blocks of a file however large the file is. A record ends at CR LF; a line
// feed alone stays inside the record, as the service writes a field's line break unchanged. The
// byte-order mark at the start of a file is skipped. A last record without its line end is still
// being written: it is not handed over. One reader per thread.
class ChunkReader {
 public:
  // Returns false to stop reading.
  using Handler = std::function<bool(const Chunk&)>;

  // Blocks of `block_size` bytes; records longer than `longest_record` come in pieces.
  explicit ChunkReader(size_t block_size = kDefaultBlockSize,
                       size_t longest_record = kDefaultLongestRecord);

  // A block this size is read at a time: it stays in the processor's cache while it is scanned.
  static constexpr size_t kDefaultBlockSize = size_t{256} * 1024;
  // The service writes no record near this long.
  static constexpr size_t kDefaultLongestRecord = size_t{4} * 1024 * 1024;

  // Hands over the whole records from `offset` to the end of the file in file order. Returns
  // the offset just behind the last whole record handed over (where later lines will begin),
  // or -1 with errno set when reading failed.
  int64_t read_forward(int fd, uint64_t offset, const Handler& handle);

  // Hands over the whole records of the file's first `end` bytes from the last to the first:
  // the chunks in reverse order, each still in file order inside. False with errno set when
  // reading failed.
  bool read_backward(int fd, uint64_t end, const Handler& handle);

 private:
  size_t block_size;
  size_t longest_record;
  std::vector<char> buffer;
  std::string carry;  // a record's front part waiting for the block before it (backward)
};

// The position of the first CR LF in [begin, end) whose CR lies at or after `begin`, or `end`.
const char* find_line_end(const char* begin, const char* end);
// The position just behind the last CR LF in [begin, end), or nullptr when there is none.
const char* after_last_line_end(const char* begin, const char* end);
// The number of line feeds in [begin, end).
uint64_t count_line_feeds(const char* begin, const char* end);

// The offset just behind the last whole record of the open file `fd` (behind its CR LF): where
// a line written later begins. 0 when the file holds no whole record; -1 with errno set when it
// cannot be read.
int64_t whole_records_end(int fd);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_CHUNK_READER_H_
