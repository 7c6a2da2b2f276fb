// What /api/files tells of each log file: size, lines, first and last time.
#include "web/file_facts.h"

#include <string.h>
#include <sys/stat.h>

#include "query/chunk_reader.h"

namespace sarvik::web {

namespace {

std::optional<CivilTime> time_of(const char* begin, const char* end) {
  CivilTime time;
  if (read_record_time(std::string_view(begin, end - begin), &time)) return time;
  return std::nullopt;
}

}  // namespace

bool read_file_facts(int fd, const FileFacts* known, uint64_t known_end, FileFacts* facts,
                     uint64_t* records_end) {
  struct stat status;
  if (fstat(fd, &status) != 0) return false;
  *facts = known != nullptr ? *known : FileFacts();
  facts->bytes = static_cast<uint64_t>(status.st_size);
  bool first_pending = known == nullptr || known->lines == 0;
  query::ChunkReader reader;
  int64_t end =
      reader.read_forward(fd, known != nullptr ? known_end : 0, [&](const query::Chunk& chunk) {
        if (chunk.cut) return true;  // inside an overlong record
        const char* start = chunk.begin;
        const char* last_start = nullptr;
        while (start < chunk.end) {
          const char* line_end = query::find_line_end(start, chunk.end);
          if (first_pending) {
            facts->first = time_of(start, line_end);
            first_pending = false;
          }
          ++facts->lines;
          last_start = start;
          start = line_end + 2;
        }
        if (last_start != nullptr) {
          facts->last = time_of(last_start, chunk.end);
        }
        return true;
      });
  if (end < 0) return false;
  *records_end = static_cast<uint64_t>(end);
  return true;
}

bool FileFactsCache::facts_of(const std::string& path, int fd, FileFacts* facts) {
  struct stat status;
  if (fstat(fd, &status) != 0) return false;
  int64_t modified = int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec;
  Entry& entry = entries[path];
  bool same_file = entry.seen || entry.records_end > 0 || entry.facts.bytes > 0;
  same_file = same_file && entry.device == status.st_dev && entry.inode == status.st_ino &&
              static_cast<uint64_t>(status.st_size) >= entry.records_end;
  entry.seen = true;
  if (same_file && entry.modified_ns == modified &&
      entry.facts.bytes == static_cast<uint64_t>(status.st_size)) {
    *facts = entry.facts;
    return true;
  }
  uint64_t records_end = 0;
  if (!read_file_facts(fd, same_file ? &entry.facts : nullptr, entry.records_end, facts,
                       &records_end)) {
    entries.erase(path);
    return false;
  }
  entry.device = status.st_dev;
  entry.inode = status.st_ino;
  entry.modified_ns = modified;
  entry.records_end = records_end;
  entry.facts = *facts;
  return true;
}

void FileFactsCache::forget_unseen() {
  for (auto entry = entries.begin(); entry != entries.end();) {
    if (!entry->second.seen) {
      entry = entries.erase(entry);
    } else {
      entry->second.seen = false;
      ++entry;
    }
  }
}

}  // namespace sarvik::web
