// What /api/files tells of each log file: size, lines, first and last time; kept between calls.
#ifndef SARVIK_TOOLS_WEB_FILE_FACTS_H_
#define SARVIK_TOOLS_WEB_FILE_FACTS_H_

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "record/record_time.h"

namespace sarvik::web {

struct FileFacts {
  uint64_t bytes = 0;
  uint64_t lines = 0;  // whole records, each ending in CR LF, as the service counts its lines
  std::optional<CivilTime> first;  // the time of the first record, when it has a readable one
  std::optional<CivilTime> last;   // of the last whole record
};

// Reads the facts of the open log file `fd`, going on from `known` (the facts of the same file
// at an earlier size, whose whole records end at `known_end`) when given: the logs only grow.
// False with errno set when reading failed. `*records_end` is where the whole records end.
bool read_file_facts(int fd, const FileFacts* known, uint64_t known_end, FileFacts* facts,
                     uint64_t* records_end);

// The facts of every file seen, by its path below the volume, so that a file is read whole only
// once and then only for what was appended. Files not seen in a listing are forgotten.
// Thread-safe: one caller at a time reads.
class FileFactsCache {
 public:
  // The facts of the open file `fd`, `path` relative to the volume.
  bool facts_of(const std::string& path, int fd, FileFacts* facts);
  // Forgets every file not asked for since the last call.
  void forget_unseen();
  std::mutex& lock() { return mutex; }

 private:
  struct Entry {
    dev_t device = 0;
    ino_t inode = 0;
    int64_t modified_ns = 0;
    uint64_t records_end = 0;
    FileFacts facts;
    bool seen = false;
  };
  std::mutex mutex;  // held by the caller through lock() while it asks
  std::map<std::string, Entry> entries;
};

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_FILE_FACTS_H_
