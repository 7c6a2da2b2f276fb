// Finding one record of a log file by its line number.
#include "query/line_lookup.h"

#include "query/chunk_reader.h"

namespace sarvik::query {

int read_record_at_line(int fd, uint64_t line, std::string* record) {
  ChunkReader reader;
  uint64_t next = 1;            // the line on which the next record begins
  bool continuing = false;      // inside an overlong record that comes in pieces
  uint64_t overlong_feeds = 0;  // line feeds in its pieces so far
  int found = 0;
  int64_t end = reader.read_forward(fd, 0, [&](const Chunk& chunk) {
    if (chunk.cut) {
      if (!continuing && next == line) {
        record->assign(chunk.begin, chunk.end);
        found = 1;
        return false;
      }
      continuing = true;
      overlong_feeds += count_line_feeds(chunk.begin, chunk.end);
      return true;
    }
    const char* start = chunk.begin;
    while (start < chunk.end) {
      const char* line_end = find_line_end(start, chunk.end);
      uint64_t feeds = count_line_feeds(start, line_end);
      if (continuing) {  // the tail of the overlong record
        continuing = false;
        next += 1 + overlong_feeds + feeds;
        overlong_feeds = 0;
      } else if (next == line) {
        record->assign(start, line_end);
        found = 1;
        return false;
      } else {
        next += 1 + feeds;
      }
      if (next > line) return false;  // the line lies inside a record
      start = line_end == chunk.end ? chunk.end : line_end + 2;
    }
    return true;
  });
  return end < 0 ? -1 : found;
}

}  // namespace sarvik::query
