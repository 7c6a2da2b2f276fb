// Scanning one log file for the lines that pass the query.
#include "query/file_scanner.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <unistd.h>

#include <algorithm>

#include "query/index_format.h"

namespace sarvik::query {

void LeftOut::add(const LeftOut& other) {
  faulty_columns += other.faulty_columns;
  without_time += other.without_time;
}

FileScanner::FileScanner(const ScanSettings& settings) : settings(settings) {}

FileProgress FileScanner::scan_forward(int fd, const std::string& file_name,
                                       const LogFileEntry& file_entry, FileProgress from,
                                       RecordSink& record_sink, bool* failed) {
  begin_file(file_name, file_entry, record_sink, /*forward=*/true);
  next_line = from.next_line;
  if (settings.number_lines && next_line == 0) {
    // A place found without numbering its lines: they are counted up to it once.
    next_line = 1;
    int64_t counted = reader.read_forward(fd, 0, [&](const Chunk& chunk) {
      uint64_t before = from.offset - chunk.offset;
      next_line += count_line_feeds(
          chunk.begin, chunk.begin + std::min<uint64_t>(before, chunk.end - chunk.begin));
      return chunk.offset + static_cast<uint64_t>(chunk.end - chunk.begin) < from.offset;
    });
    if (counted < 0) {
      *failed = true;
      return from;
    }
  }
  const LiteralFinder* needle = settings.filter->needle();
  int64_t end = reader.read_forward(fd, from.offset, [&](const Chunk& chunk) {
    if (cancelled()) return false;
    return needle != nullptr && !chunk.cut ? search_chunk(chunk, *needle) : scan_chunk(chunk);
  });
  if (end < 0) {
    *failed = true;
    return from;
  }
  *failed = false;
  return FileProgress{static_cast<uint64_t>(end), next_line, file_finished};
}

bool FileScanner::scan_backward(int fd, const std::string& file_name,
                                const LogFileEntry& file_entry, const FileProgress* before,
                                RecordSink& record_sink) {
  begin_file(file_name, file_entry, record_sink, /*forward=*/false);
  // Numbers count from the front: the line feeds up to the end come first, unless the place
  // to begin at knows its number.
  uint64_t end = 0;
  uint64_t line_feeds = 0;
  if (before != nullptr && (before->next_line != 0 || !settings.number_lines)) {
    end = before->offset;
    line_feeds = before->next_line == 0 ? 0 : before->next_line - 1;
  } else if (settings.number_lines) {
    uint64_t limit = before == nullptr ? UINT64_MAX : before->offset;
    int64_t counted = reader.read_forward(fd, 0, [&](const Chunk& chunk) {
      uint64_t length = std::min<uint64_t>(limit - chunk.offset, chunk.end - chunk.begin);
      line_feeds += count_line_feeds(chunk.begin, chunk.begin + length);
      return chunk.offset + length < limit;
    });
    if (counted < 0) return false;
    end = std::min<uint64_t>(limit, static_cast<uint64_t>(counted));
  } else {
    struct stat status;
    if (fstat(fd, &status) != 0) return false;
    end = static_cast<uint64_t>(status.st_size);
  }
  uint64_t feeds_before_end = line_feeds;  // before the end of the chunk to scan next
  const LiteralFinder* needle = settings.filter->needle();
  return reader.read_backward(fd, end, [&](const Chunk& chunk) {
    if (cancelled()) return false;
    return scan_chunk_backward(chunk, &feeds_before_end, needle);
  });
}

bool FileScanner::scan_chunk_backward(const Chunk& chunk, uint64_t* feeds_before_end,
                                      const LiteralFinder* needle) {
  const char* after = chunk.end;  // behind the current line's line end
  while (after > chunk.begin) {
    bool ended = after - chunk.begin >= 2 && after[-2] == '\r' && after[-1] == '\n';
    const char* line_end = ended ? after - 2 : after;
    const char* start = after_last_line_end(chunk.begin, line_end);
    if (start == nullptr) start = chunk.begin;
    uint64_t line = 0;
    if (settings.number_lines) {
      *feeds_before_end -= count_line_feeds(start, after);
      line = *feeds_before_end + 1;
    }
    after = start;
    if (needle != nullptr && needle->find(start, line_end) == nullptr) continue;
    uint64_t offset = chunk.offset + static_cast<uint64_t>(start - chunk.begin);
    if (evaluate(std::string_view(start, line_end - start), offset, line) == Verdict::kStop) {
      return false;
    }
  }
  return true;
}

void FileScanner::begin_file(const std::string& file_name, const LogFileEntry& file_entry,
                             RecordSink& record_sink, bool in_file_order) {
  file = &file_name;
  entry = &file_entry;
  sink = &record_sink;
  file_finished = false;
  forward = in_file_order;
}

bool FileScanner::read_span(int fd, uint64_t begin, uint64_t end) {
  span.resize(static_cast<size_t>(end - begin));
  size_t done = 0;
  while (done < span.size()) {
    ssize_t n = pread(fd, span.data() + done, span.size() - done, static_cast<off_t>(begin + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) {
      errno = EIO;  // the file is shorter than its identity says: it changed under the scan
      return false;
    }
    done += static_cast<size_t>(n);
  }
  return true;
}

BlockScanEnd FileScanner::scan_blocks(int fd, const std::string& file_name,
                                      const LogFileEntry& file_entry,
                                      const std::vector<ChosenBlock>& blocks,
                                      const FileProgress* from, bool backward,
                                      const LiteralFinder* narrow, RecordSink& record_sink) {
  begin_file(file_name, file_entry, record_sink, !backward);
  const LiteralFinder* needle = settings.filter->needle();
  BlockScanEnd result;
  uint64_t reached = from != nullptr ? from->offset : 0;
  auto done = [&] {
    result.progress = FileProgress{reached, next_line, file_finished};
    return result;
  };
  // The blocks that hold lines from the place to begin at on: behind it, or before it backward.
  std::vector<ChosenBlock> todo;
  for (const ChosenBlock& block : blocks) {
    if (from == nullptr || (backward ? block.begin < from->offset : block.end > from->offset)) {
      todo.push_back(block);
    }
  }
  if (backward) std::reverse(todo.begin(), todo.end());
  // A place that a page began at may bring its own line number, which the whole scan counts
  // from: the index's numbers are moved by the difference, found in the block that holds the
  // place. (A place that a page ended at lies at a line's start and brings its true number.)
  int64_t delta = 0;
  bool delta_known = from == nullptr || from->next_line == 0;
  uint64_t constant_line = from != nullptr && !backward ? from->next_line : 1;

  constexpr uint64_t kMostSpan = uint64_t{1} << 20;
  constexpr uint64_t kWidestGap = 2 * kBlockBytes;
  for (size_t first = 0; first < todo.size();) {
    // A run of blocks that lie close to each other, read at once: a call costs about as much
    // as copying a few blocks that are not wanted between them.
    size_t last = first;
    auto next_to = [&](const ChosenBlock& a, const ChosenBlock& b) {
      return backward ? a.begin - b.end <= kWidestGap : b.begin - a.end <= kWidestGap;
    };
    while (last + 1 < todo.size() && next_to(todo[last], todo[last + 1]) &&
           (backward ? todo[first].end - todo[last + 1].begin
                     : todo[last + 1].end - todo[first].begin) <= kMostSpan) {
      ++last;
    }
    uint64_t span_begin = backward ? todo[last].begin : todo[first].begin;
    uint64_t span_end = backward ? todo[first].end : todo[last].end;
    if (cancelled()) return done();
    if (!read_span(fd, span_begin, span_end)) {
      result.kind = BlockScanEnd::Kind::kFailed;
      return result;
    }
    for (size_t i = first; i <= last; ++i) {
      const ChosenBlock& block = todo[i];
      const char* begin = span.data() + (block.begin - span_begin);
      const char* end = span.data() + (block.end - span_begin);
      if (block_hash_of(begin, end) != block.hash) {
        result.kind = BlockScanEnd::Kind::kDamaged;
        result.resume.offset = backward ? block.end : block.begin;
        if (from != nullptr && (backward ? from->offset < block.end : from->offset > block.begin)) {
          result.resume.offset = from->offset;
        }
        result.resume.next_line = settings.number_lines ? 0 : constant_line;
        return result;
      }
      const LiteralFinder* finder = block.narrowed && narrow != nullptr ? narrow : needle;
      // The part of the block to scan: from the place to begin at, or up to it backward.
      const char* part_begin = begin;
      const char* part_end = end;
      if (from != nullptr && !backward && from->offset > block.begin) {
        part_begin = begin + (from->offset - block.begin);
      }
      if (from != nullptr && backward && from->offset < block.end) {
        const char* cut = begin + (from->offset - block.begin);
        const char* whole = after_last_line_end(begin, cut);
        part_end = whole == nullptr ? begin : whole;
      }
      uint64_t line_at_begin = block.first_line + count_line_feeds(begin, part_begin);
      bool holds_place =
          from != nullptr && from->offset >= block.begin && from->offset <= block.end;
      if (!delta_known && holds_place) {
        delta =
            backward
                ? static_cast<int64_t>(from->next_line - 1) -
                      static_cast<int64_t>(block.first_line - 1 + count_line_feeds(begin, part_end))
                : static_cast<int64_t>(from->next_line) - static_cast<int64_t>(line_at_begin);
        delta_known = true;
      }
      Chunk chunk{part_begin, part_end, block.begin + static_cast<uint64_t>(part_begin - begin),
                  /*cut=*/false};
      bool go_on;
      if (backward) {
        uint64_t feeds = static_cast<uint64_t>(static_cast<int64_t>(block.first_line - 1) + delta) +
                         count_line_feeds(begin, part_end);
        go_on = scan_chunk_backward(chunk, &feeds, finder);
      } else {
        next_line = settings.number_lines
                        ? static_cast<uint64_t>(static_cast<int64_t>(line_at_begin) + delta)
                        : constant_line;
        go_on = finder != nullptr ? search_chunk(chunk, *finder) : scan_chunk(chunk);
      }
      if (!go_on) return done();
      reached = std::max(reached, block.end);
    }
    first = last + 1;
  }
  return done();
}

bool FileScanner::scan_chunk(const Chunk& chunk) {
  const char* start = chunk.begin;
  while (start < chunk.end) {
    const char* line_end = find_line_end(start, chunk.end);
    uint64_t line = next_line;
    if (settings.number_lines) next_line += 1 + count_line_feeds(start, line_end);
    uint64_t offset = chunk.offset + static_cast<uint64_t>(start - chunk.begin);
    Verdict verdict = evaluate(std::string_view(start, line_end - start), offset, line);
    if (verdict == Verdict::kEndOfFile) file_finished = true;
    if (verdict != Verdict::kNext) return false;
    start = line_end == chunk.end ? chunk.end : line_end + 2;
  }
  return true;
}

bool FileScanner::search_chunk(const Chunk& chunk, const LiteralFinder& needle) {
  const char* from = chunk.begin;     // lines before it are done
  const char* counted = chunk.begin;  // next_line is the number of the line that begins here
  while (from < chunk.end) {
    const char* hit = needle.find(from, chunk.end);
    if (hit == nullptr) break;
    // The line that holds the occurrence. An occurrence that runs over a line end belongs to no
    // line; the line tested then fails the filter, and the search goes on behind it.
    const char* start = after_last_line_end(from, hit);
    if (start == nullptr) start = from;
    const char* line_end = find_line_end(start, chunk.end);
    if (settings.number_lines) {
      next_line += count_line_feeds(counted, start);
      counted = start;
    }
    uint64_t offset = chunk.offset + static_cast<uint64_t>(start - chunk.begin);
    Verdict verdict = evaluate(std::string_view(start, line_end - start), offset, next_line);
    if (verdict == Verdict::kEndOfFile) file_finished = true;
    if (verdict != Verdict::kNext) return false;
    from = line_end == chunk.end ? chunk.end : line_end + 2;
  }
  if (settings.number_lines) next_line += count_line_feeds(counted, chunk.end);
  return true;
}

bool FileScanner::cancelled() {
  if (settings.cancel == nullptr || !settings.cancel->load(std::memory_order_relaxed)) {
    return false;
  }
  sink_stopped = true;
  return true;
}

FileScanner::Verdict FileScanner::evaluate(std::string_view text, uint64_t offset, uint64_t line) {
  MatchedRecord record;
  record.file = file;
  record.text = text;
  record.offset = offset;
  record.line = line;
  bool range_test = !entry->whole && settings.range->bounded();
  if (range_test || settings.read_time) record.has_time = read_record_time(text, &record.time);
  if (range_test) {
    if (!record.has_time) {
      ++left.without_time;
      return Verdict::kNext;
    }
    // In time order, a line beyond the range by more than the slack ends the file.
    if (forward && !entry->stop_after.empty() &&
        memcmp(text.data(), entry->stop_after.data(), kRecordTimeLength) > 0) {
      return Verdict::kEndOfFile;
    }
    if (!settings.range->contains_time(text)) return Verdict::kNext;
  }
  // Only the columns of the line's kind are built: a line costs no more than it must.
  if (settings.access_columns) {
    const AccessColumns access = read_access_columns(text, settings.access_columns_wanted);
    record.access = &access;
    record.fault = access.fault;
    if (!settings.filter->accepts(access)) return left_out(record);
    return pass_on(record, &access);
  }
  const SystemColumns system = read_system_columns(text);
  record.system = &system;
  record.fault = system.fault;
  if (!settings.filter->accepts(system)) return left_out(record);
  return pass_on(record, nullptr);
}

FileScanner::Verdict FileScanner::left_out(const MatchedRecord& record) {
  if (record.fault != ColumnFault::kNone) ++left.faulty_columns;
  return Verdict::kNext;
}

FileScanner::Verdict FileScanner::pass_on(MatchedRecord& record, const AccessColumns* access) {
  if (!settings.filter->accepts_line(record.text)) return Verdict::kNext;
  if (settings.rules != nullptr) {
    // A line without a readable time has no moment for the period test: no rule fires.
    if (!record.has_time || access == nullptr) return Verdict::kNext;
    settings.rules->fire(*access, record.time, &rule_scratch, &fired);
    if (fired.empty()) return Verdict::kNext;
    record.rules = &fired;
  }
  if (sink->take(record)) return Verdict::kNext;
  sink_stopped = true;
  return Verdict::kStop;
}

}  // namespace sarvik::query
