// Building the block indexes of a log's closed files and keeping them in the store.
#include "query/index_build.h"

#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "query/index_builder.h"
#include "query/index_format.h"

namespace sarvik::query {

std::vector<LogFileEntry> closed_files(const LogTree& tree, Problems& problems) {
  std::vector<LogFileEntry> files = tree.files(TimeRange(), problems);
  if (!files.empty()) files.pop_back();
  return files;
}

bool has_current_index(const IndexStore& store, const std::string& month, const std::string& name,
                       int fd) {
  struct stat status;
  if (fstat(fd, &status) != 0) return false;
  MappedIndex mapped = store.load(month, name);
  IndexView index;
  return mapped.valid() && index.open(mapped.bytes()) &&
         index.identity() == FileIdentity::of(status) && index.blocks_intact() &&
         index.bloom_intact() && (!index.has_fields() || index.fields_intact());
}

BuildReport build_indexes(const LogTree& tree, const IndexStore& store,
                          const std::vector<LogFileEntry>& files, const std::atomic<bool>* cancel) {
  BuildReport report;
  bool access_columns = std::string(tree.log_kind().subdir) != kSystemLog.subdir;
  IndexBuilder builder(access_columns);
  IndexContent content;
  for (const LogFileEntry& entry : files) {
    if (cancel != nullptr && cancel->load()) break;
    std::string why;
    Descriptor file = tree.open_file(entry.month, entry.name, &why);
    if (!file.valid()) {
      ++report.failed;
      continue;
    }
    if (has_current_index(store, entry.month, entry.name, file.get())) {
      ++report.current;
      continue;
    }
    std::string bytes;
    if (builder.build(file.get(), &content)) bytes = serialize_index(content);
    if (bytes.empty() || !store.save(entry.month, entry.name, bytes)) {
      ++report.failed;
      continue;
    }
    ++report.built;
    report.log_bytes += content.identity.size;
    report.index_bytes += bytes.size();
  }
  return report;
}

uint64_t remove_other_indexes(const IndexStore& store, const std::vector<LogFileEntry>& files) {
  std::set<std::pair<std::string, std::string>> kept;
  for (const LogFileEntry& entry : files) kept.emplace(entry.month, entry.name);
  std::vector<std::pair<std::string, std::string>> indexed;
  if (!store.list(&indexed)) return 0;
  uint64_t removed = 0;
  for (const auto& [month, name] : indexed) {
    if (kept.count({month, name}) != 0) continue;
    store.remove(month, name);
    ++removed;
  }
  return removed;
}

}  // namespace sarvik::query
