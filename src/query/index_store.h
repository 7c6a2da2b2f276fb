// Where the block indexes of the logs are kept: a cache directory of the user who reads them.
#ifndef SARVIK_QUERY_INDEX_STORE_H_
#define SARVIK_QUERY_INDEX_STORE_H_

#include <sys/types.h>
#include <time.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "logstore/log_kinds.h"
#include "query/tree_access.h"

namespace sarvik::query {

// An index file mapped into memory, read-only; unmapped on destruction. Movable.
class MappedIndex {
 public:
  MappedIndex() = default;
  ~MappedIndex();
  MappedIndex(MappedIndex&& other) noexcept;
  MappedIndex& operator=(MappedIndex&& other) noexcept;
  MappedIndex(const MappedIndex&) = delete;
  MappedIndex& operator=(const MappedIndex&) = delete;

  bool valid() const { return data != nullptr; }
  std::string_view bytes() const { return std::string_view(data, size); }

 private:
  friend class IndexStore;
  char* data = nullptr;
  size_t size = 0;
};

// The indexes of one log of one volume, in `directory`/VOLUME/LOG/, one file per log file,
// named after its month and its name. The log tree may be written by every local user, so the
// indexes are never kept there: they live in a directory of the user who runs the reader, and
// a directory or file that another user owns, or that others may write, is not used. Files are
// written under a temporary name and renamed, so a reader sees a whole index or none; one that
// is damaged all the same (a crash before the data reached the disk) fails its checksums and is
// built again. Used by one thread while it opens; load and save may then be called from any.
class IndexStore {
 public:
  // `owner`: the user whose files are trusted, the one who runs the reader.
  IndexStore(std::string directory, uid_t owner);

  // The cache directory of the running user: root's /var/cache/sarvik, another user's
  // $XDG_CACHE_HOME/sarvik, or ~/.cache/sarvik without it. Empty when no home is known.
  static std::string default_directory();

  // Opens the directory of the log `kind` of the volume whose canonical path is `volume`,
  // creating it (mode 0700) when `create` is set. False when it is missing, cannot be made, or
  // is not safe to use.
  bool open(const std::string& volume, const LogKind& kind, bool create);
  bool is_open() const { return dir.valid(); }

  // The index of a log file, mapped; invalid when there is none that the owner alone could
  // have written.
  MappedIndex load(const std::string& month, const std::string& name) const;
  // Writes the index of a log file. False when it cannot be written; nothing is left behind.
  bool save(const std::string& month, const std::string& name, const std::string& bytes) const;
  // Removes the index of a log file; failure ignored, as a stale index is never trusted.
  void remove(const std::string& month, const std::string& name) const;
  // The log files (month and name) that have an index here.
  bool list(std::vector<std::pair<std::string, std::string>>* files) const;
  // Takes the store's lock of builders, waiting for it when `wait`; invalid when it is taken
  // (and `wait` is not set) or cannot be had. One builder at a time: a burst of questions
  // that each find files to index starts one build, not one each. Released when closed.
  Descriptor lock_builders(bool wait) const;
  // Removes what a writer that was stopped midway left under a temporary name, when it was last
  // changed before `before`. Returns how many.
  size_t remove_leftovers(time_t before) const;

  // The name of a volume's directory: its path made readable, and a hash of the whole path.
  static std::string volume_key(const std::string& volume);

 private:
  // The directory `name` inside `parent`, made when missing and `create` is set, and trusted.
  Descriptor open_trusted_dir(int parent, const std::string& name, bool create) const;
  bool trusted(int fd) const;

  std::string directory;
  uid_t owner;
  Descriptor dir;
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_INDEX_STORE_H_
