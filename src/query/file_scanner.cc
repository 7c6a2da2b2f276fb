// Scanning one log file for the lines that pass the query.
#include "query/file_scanner.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

namespace sarvik::query {

void LeftOut::add(const LeftOut& other) {
  faulty_columns += other.faulty_columns;
  without_time += other.without_time;
}

FileScanner::FileScanner(const ScanSettings& settings) : settings(settings) {}

FileProgress FileScanner::scan_forward(int fd, const std::string& file_name,
                                       const LogFileEntry& file_entry, FileProgress from,
                                       RecordSink& record_sink, bool* failed) {
  file = &file_name;
  entry = &file_entry;
  sink = &record_sink;
  next_line = from.next_line;
  file_finished = false;
  forward = true;
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
  file = &file_name;
  entry = &file_entry;
  sink = &record_sink;
  forward = false;
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
  uint64_t feeds_behind = 0;  // line feeds from the current line's start to the end
  const LiteralFinder* needle = settings.filter->needle();
  return reader.read_backward(fd, end, [&](const Chunk& chunk) {
    if (cancelled()) return false;
    const char* after = chunk.end;  // behind the current line's line end
    while (after > chunk.begin) {
      bool ended = after - chunk.begin >= 2 && after[-2] == '\r' && after[-1] == '\n';
      const char* line_end = ended ? after - 2 : after;
      const char* start = after_last_line_end(chunk.begin, line_end);
      if (start == nullptr) start = chunk.begin;
      uint64_t line = 0;
      if (settings.number_lines) {
        feeds_behind += count_line_feeds(start, after);
        line = line_feeds - feeds_behind + 1;
      }
      after = start;
      if (needle != nullptr && needle->find(start, line_end) == nullptr) continue;
      uint64_t offset = chunk.offset + static_cast<uint64_t>(start - chunk.begin);
      if (evaluate(std::string_view(start, line_end - start), offset, line) == Verdict::kStop) {
        return false;
      }
    }
    return true;
  });
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
