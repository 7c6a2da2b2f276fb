// Reading a log file in large blocks, handed over as chunks of whole records.
#include "query/chunk_reader.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "logstore/log_format.h"

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace sarvik::query {

namespace {

constexpr size_t kMarkLength = sizeof kByteOrderMark - 1;

// pread until `length` bytes or the end of the file; the count read, or -1.
ssize_t read_at(int fd, char* into, size_t length, uint64_t offset) {
  size_t done = 0;
  while (done < length) {
    ssize_t n = pread(fd, into + done, length - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  return static_cast<ssize_t>(done);
}

size_t mark_length_at(const char* begin, const char* end) {
  return static_cast<size_t>(end - begin) >= kMarkLength &&
                 memcmp(begin, kByteOrderMark, kMarkLength) == 0
             ? kMarkLength
             : 0;
}

}  // namespace

const char* find_line_end(const char* begin, const char* end) {
  const char* from = begin;
  while (from < end) {
    const char* feed = static_cast<const char*>(memchr(from, '\n', end - from));
    if (feed == nullptr) return end;
    if (feed > begin && feed[-1] == '\r') return feed - 1;
    from = feed + 1;
  }
  return end;
}

const char* after_last_line_end(const char* begin, const char* end) {
  const char* to = end;
  while (to > begin) {
    const char* feed = static_cast<const char*>(memrchr(begin, '\n', to - begin));
    if (feed == nullptr) return nullptr;
    if (feed > begin && feed[-1] == '\r') return feed + 1;
    to = feed;
  }
  return nullptr;
}

uint64_t count_line_feeds(const char* begin, const char* end) {
  uint64_t count = 0;
  const char* p = begin;
#if defined(__x86_64__)
  const __m128i feed = _mm_set1_epi8('\n');
  for (; p + 16 <= end; p += 16) {
    __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    count += static_cast<uint64_t>(
        __builtin_popcount(static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, feed)))));
  }
#endif
  for (; p < end; ++p) count += *p == '\n';
  return count;
}

int64_t whole_records_end(int fd) {
  constexpr size_t kBlock = size_t{64} * 1024;
  struct stat status;
  if (fstat(fd, &status) != 0) return -1;
  std::vector<char> block(kBlock + 1);
  uint64_t end = static_cast<uint64_t>(status.st_size);
  while (end > 0) {
    // Each block reaches one byte into the one behind it, for a CR LF that the cut splits.
    uint64_t start = end > kBlock ? end - kBlock : 0;
    uint64_t stop = std::min<uint64_t>(end + 1, static_cast<uint64_t>(status.st_size));
    ssize_t n = read_at(fd, block.data(), static_cast<size_t>(stop - start), start);
    if (n < 0) return -1;
    const char* behind = after_last_line_end(block.data(), block.data() + n);
    if (behind != nullptr) return static_cast<int64_t>(start + (behind - block.data()));
    end = start;
  }
  return 0;
}

ChunkReader::ChunkReader(size_t block_size, size_t longest_record)
    : block_size(block_size),
      longest_record(std::max(longest_record, block_size)),
      buffer(block_size) {}

int64_t ChunkReader::read_forward(int fd, uint64_t offset, const Handler& handle) {
  size_t start = 0;   // the first byte not handed over yet
  size_t filled = 0;  // bytes in the buffer
  uint64_t buffer_offset = offset;
  bool at_file_start = offset == 0;
  for (;;) {
    if (filled == buffer.size()) {
      if (start > 0) {
        memmove(buffer.data(), buffer.data() + start, filled - start);
        buffer_offset += start;
        filled -= start;
        start = 0;
      } else if (buffer.size() < longest_record) {
        buffer.resize(std::min(buffer.size() * 2, longest_record));
      } else {
        Chunk piece{buffer.data(), buffer.data() + filled, buffer_offset, /*cut=*/true};
        buffer_offset += filled;
        filled = 0;
        if (!handle(piece)) return static_cast<int64_t>(buffer_offset);
      }
    }
    ssize_t n = read_at(fd, buffer.data() + filled, buffer.size() - filled, buffer_offset + filled);
    if (n < 0) return -1;
    if (n == 0) break;
    filled += static_cast<size_t>(n);
    if (at_file_start && filled >= kMarkLength) {
      start = mark_length_at(buffer.data(), buffer.data() + filled);
      at_file_start = false;
    }
    const char* whole_end = after_last_line_end(buffer.data() + start, buffer.data() + filled);
    if (whole_end == nullptr) continue;
    // A line that ends before three bytes are in leaves no room for a mark at the start, and
    // the same bytes further on are a record's own.
    at_file_start = false;
    Chunk chunk{buffer.data() + start, whole_end, buffer_offset + start, /*cut=*/false};
    start = static_cast<size_t>(whole_end - buffer.data());
    if (!handle(chunk)) break;
  }
  return static_cast<int64_t>(buffer_offset + start);
}

bool ChunkReader::read_backward(int fd, uint64_t end_offset, const Handler& handle) {
  uint64_t block_end = end_offset;
  bool at_file_end = true;
  carry.clear();
  while (block_end > 0) {
    uint64_t block_start = block_end > block_size ? block_end - block_size : 0;
    size_t block = static_cast<size_t>(block_end - block_start);
    buffer.resize(block + carry.size());
    ssize_t n = read_at(fd, buffer.data(), block, block_start);
    if (n < 0) return false;
    if (static_cast<size_t>(n) < block) {  // the file shrank: read what is left of it again
      block_end = block_start + static_cast<uint64_t>(n);
      continue;
    }
    memcpy(buffer.data() + block, carry.data(), carry.size());
    const char* data = buffer.data();
    const char* end = data + buffer.size();
    if (at_file_end) {
      // A last record without its line end is still being written.
      const char* whole_end = after_last_line_end(data, end);
      end = whole_end == nullptr ? data : whole_end;
      at_file_end = whole_end == nullptr && block_start > 0;
      if (at_file_end) {
        // All of it is the unfinished record, but a line feed in front may end the record
        // before it with the carriage return that the next block ends in.
        carry.assign(data, data[0] == '\n' ? 1 : 0);
        block_end = block_start;
        continue;
      }
    }
    const char* first = data;
    if (block_start == 0) {
      first += mark_length_at(data, end);
    } else {
      // The front up to the first line end may belong to a record that began further back.
      const char* line_end = find_line_end(data, end);
      first = line_end == end ? end : line_end + 2;
    }
    if (first == end && block_start > 0 && static_cast<size_t>(end - data) >= longest_record) {
      first = data;  // an overlong record: its tail goes as a piece of its own
    }
    if (first < end) {
      Chunk chunk{first, end, block_start + static_cast<uint64_t>(first - data),
                  /*cut=*/false};
      if (!handle(chunk)) return true;
    }
    carry.assign(data, first);
    block_end = block_start;
    if (block_start == 0) break;
  }
  return true;
}

}  // namespace sarvik::query
