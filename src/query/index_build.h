// Building the block indexes of a log's closed files and keeping them in the store.
#ifndef SARVIK_QUERY_INDEX_BUILD_H_
#define SARVIK_QUERY_INDEX_BUILD_H_

#include <atomic>
#include <cstdint>
#include <vector>

#include "query/index_store.h"
#include "query/log_tree.h"
#include "query/problems.h"

namespace sarvik::query {

struct BuildReport {
  uint64_t built = 0;        // files whose index was written
  uint64_t current = 0;      // files whose index was current already
  uint64_t failed = 0;       // files that could not be indexed (unreadable, changed while read)
  uint64_t log_bytes = 0;    // of the files built
  uint64_t index_bytes = 0;  // of the indexes written
};

// The closed files of the log, oldest first: every file but the newest, which the service may
// still append to. Problems with directories are reported.
std::vector<LogFileEntry> closed_files(const LogTree& tree, Problems& problems);

// Builds and writes the index of each of `files` that has no current one in `store`. Stops
// before the next file when `cancel` is set. Any thread; the tree and the store are only read.
BuildReport build_indexes(const LogTree& tree, const IndexStore& store,
                          const std::vector<LogFileEntry>& files,
                          const std::atomic<bool>* cancel = nullptr);

// Removes from `store` the indexes of log files that are not among `files` (expired, or no
// longer closed). Returns how many.
uint64_t remove_other_indexes(const IndexStore& store, const std::vector<LogFileEntry>& files);

// Whether `store` holds an index of the open log file `fd` (month, name) that describes it as
// it is now.
bool has_current_index(const IndexStore& store, const std::string& month, const std::string& name,
                       int fd);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_INDEX_BUILD_H_
