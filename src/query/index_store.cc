// Where the block indexes of the logs are kept: a cache directory of the user who reads them.
#include "query/index_store.h"

#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <atomic>
#include <cstdio>
#include <vector>

namespace sarvik::query {

namespace {

constexpr char kRootCache[] = "/var/cache/sarvik";
constexpr char kSuffix[] = ".idx";
constexpr char kTemporaryPrefix[] = ".new.";
constexpr char kLockName[] = ".lock";
constexpr mode_t kDirMode = 0700;
constexpr mode_t kFileMode = 0600;
// A volume path longer than this is shown shortened in its directory's name; the hash beside
// it tells volumes apart.
constexpr size_t kShownVolume = 64;

std::string file_name_of(const std::string& month, const std::string& name) {
  return month + "-" + name + kSuffix;
}

// Writes all of `bytes`; false on failure.
bool write_all(int fd, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// Makes `path` and the directories above it that are missing, for a user's cache.
void make_parents(const std::string& path) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    mkdir(path.substr(0, slash).c_str(), kDirMode);  // failure shows when the path is opened
  }
}

}  // namespace

MappedIndex::~MappedIndex() {
  if (data != nullptr) munmap(data, size);
}

MappedIndex::MappedIndex(MappedIndex&& other) noexcept : data(other.data), size(other.size) {
  other.data = nullptr;
  other.size = 0;
}

MappedIndex& MappedIndex::operator=(MappedIndex&& other) noexcept {
  if (this != &other) {
    if (data != nullptr) munmap(data, size);
    data = other.data;
    size = other.size;
    other.data = nullptr;
    other.size = 0;
  }
  return *this;
}

IndexStore::IndexStore(std::string directory, uid_t owner)
    : directory(std::move(directory)), owner(owner) {}

std::string IndexStore::default_directory() {
  if (geteuid() == 0) return kRootCache;
  const char* cache = getenv("XDG_CACHE_HOME");
  if (cache != nullptr && cache[0] == '/') return std::string(cache) + "/sarvik";
  const char* home = getenv("HOME");
  std::string base = home != nullptr && home[0] == '/' ? home : "";
  if (base.empty()) {
    passwd* entry = getpwuid(geteuid());
    if (entry == nullptr || entry->pw_dir == nullptr || entry->pw_dir[0] != '/') return "";
    base = entry->pw_dir;
  }
  return base + "/.cache/sarvik";
}

std::string IndexStore::volume_key(const std::string& volume) {
  std::string shown;
  for (char c : volume.substr(0, kShownVolume)) {
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                 c == '_' || c == '.';
    if (c == '/') {
      if (!shown.empty()) shown += '-';
    } else {
      shown += plain ? c : '_';
    }
  }
  while (!shown.empty() && shown.back() == '-') shown.pop_back();
  if (shown.empty() || shown[0] == '.') shown.insert(0, "v");
  char hash[20];
  snprintf(hash, sizeof hash, "%016llx",
           static_cast<unsigned long long>(XXH3_64bits(volume.data(), volume.size())));
  return shown + "." + hash;
}

bool IndexStore::trusted(int fd) const {
  struct stat status;
  return fstat(fd, &status) == 0 && status.st_uid == owner && (status.st_mode & 022) == 0;
}

Descriptor IndexStore::open_trusted_dir(int parent, const std::string& name, bool create) const {
  Descriptor opened = open_directory_at(parent, name);
  if (!opened.valid() && errno == ENOENT && create &&
      mkdirat(parent, name.c_str(), kDirMode) == 0) {
    opened = open_directory_at(parent, name);
  }
  if (opened.valid() && !trusted(opened.get())) return Descriptor();
  return opened;
}

bool IndexStore::open(const std::string& volume, const LogKind& kind, bool create) {
  if (directory.empty() || directory[0] != '/') return false;
  Descriptor top(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!top.valid() && errno == ENOENT && create) {
    make_parents(directory);
    if (mkdir(directory.c_str(), kDirMode) == 0 || errno == EEXIST) {
      top = Descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    }
  }
  if (!top.valid() || !trusted(top.get())) return false;
  Descriptor volume_dir = open_trusted_dir(top.get(), volume_key(volume), create);
  if (!volume_dir.valid()) return false;
  dir = open_trusted_dir(volume_dir.get(), kind.subdir, create);
  return dir.valid();
}

MappedIndex IndexStore::load(const std::string& month, const std::string& name) const {
  MappedIndex mapped;
  std::string file_name = file_name_of(month, name);
  Descriptor file(
      openat(dir.get(), file_name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status;
  if (!file.valid() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_uid != owner || (status.st_mode & 022) != 0 || status.st_size <= 0) {
    return mapped;
  }
  // Only its owner can change the file, and the owner's readers replace it by renaming, never
  // in place: the mapping cannot shrink under the reader.
  size_t size = static_cast<size_t>(status.st_size);
  void* data = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
  if (data == MAP_FAILED) return mapped;
  mapped.data = static_cast<char*>(data);
  mapped.size = size;
  return mapped;
}

bool IndexStore::save(const std::string& month, const std::string& name,
                      const std::string& bytes) const {
  static std::atomic<unsigned> counter{0};
  std::string final_name = file_name_of(month, name);
  char temporary[64];
  snprintf(temporary, sizeof temporary, "%s%d.%u", kTemporaryPrefix, static_cast<int>(getpid()),
           counter++);
  Descriptor file(openat(dir.get(), temporary, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                         kFileMode));
  if (!file.valid()) return false;
  // No fsync: an index that a crash left incomplete fails its checksums and is built again.
  bool written = write_all(file.get(), bytes) && fchmod(file.get(), kFileMode) == 0;
  if (!written || renameat(dir.get(), temporary, dir.get(), final_name.c_str()) != 0) {
    unlinkat(dir.get(), temporary, 0);
    return false;
  }
  return true;
}

void IndexStore::remove(const std::string& month, const std::string& name) const {
  unlinkat(dir.get(), file_name_of(month, name).c_str(), 0);
}

Descriptor IndexStore::lock_builders(bool wait) const {
  Descriptor lock(
      openat(dir.get(), kLockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kFileMode));
  if (!lock.valid()) return lock;
  int taken;
  do {
    taken = flock(lock.get(), LOCK_EX | (wait ? 0 : LOCK_NB));
  } while (taken != 0 && errno == EINTR);
  return taken == 0 ? std::move(lock) : Descriptor();
}

size_t IndexStore::remove_leftovers(time_t before) const {
  std::vector<DirEntry> entries;
  if (!list_directory(dir.get(), &entries)) return 0;
  size_t removed = 0;
  for (const DirEntry& entry : entries) {
    struct stat status;
    if (entry.name.compare(0, sizeof kTemporaryPrefix - 1, kTemporaryPrefix) != 0 ||
        fstatat(dir.get(), entry.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        status.st_mtime >= before) {
      continue;
    }
    removed += unlinkat(dir.get(), entry.name.c_str(), 0) == 0;
  }
  return removed;
}

bool IndexStore::list(std::vector<std::pair<std::string, std::string>>* files) const {
  std::vector<DirEntry> entries;
  if (!list_directory(dir.get(), &entries)) return false;
  const size_t suffix = sizeof kSuffix - 1;
  for (const DirEntry& entry : entries) {
    const std::string& text = entry.name;
    size_t dash = text.find('-');
    if (entry.type != DirEntry::Type::kRegular || dash == std::string::npos ||
        text.size() <= dash + 1 + suffix ||
        text.compare(text.size() - suffix, suffix, kSuffix) != 0) {
      continue;
    }
    files->emplace_back(text.substr(0, dash),
                        text.substr(dash + 1, text.size() - dash - 1 - suffix));
  }
  return true;
}

}  // namespace sarvik::query
