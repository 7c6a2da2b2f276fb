// Setting up the sealing state: a fresh directory with its key file and empty journals.
#include "seal/seal_setup.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "logstore/directory.h"
#include "logstore/safe_open.h"
#include "seal/seal_format.h"
#include "seal/seal_paths.h"

namespace sarvik {

namespace {

constexpr mode_t kParentMode = 0755;

bool fail(const std::string& what, std::string* why) {
  *why = what + ": " + strerror(errno);
  return false;
}

// mkdir -p of the directories above `dir`.
bool make_parents(const std::string& dir, std::string* why) {
  for (size_t slash = dir.find('/', 1); slash != std::string::npos;
       slash = dir.find('/', slash + 1)) {
    std::string parent = dir.substr(0, slash);
    if (mkdir(parent.c_str(), kParentMode) != 0 && errno != EEXIST) return fail(parent, why);
  }
  return true;
}

// Writes all of `size` bytes at `data` to the new file `name` in `dir_fd`, and syncs it.
bool write_new_file(int dir_fd, const char* name, const void* data, size_t size, std::string* why) {
  ScopedFd fd(
      openat(dir_fd, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kSealFileMode));
  if (!fd.valid() || fchmod(fd.get(), kSealFileMode) != 0) return fail(name, why);
  if (size > 0 && write(fd.get(), data, size) != static_cast<ssize_t>(size)) {
    return fail(name, why);
  }
  if (fsync(fd.get()) != 0) return fail(name, why);
  return true;
}

// Deletes a state directory and the files in it, without following a link.
void remove_state(const std::string& dir) {
  Directory entries(open_directory_at(AT_FDCWD, dir, /*create=*/false, 0),
                    DirEntryIterator::DefaultIgnoreList());
  for (const dirent& entry : entries) unlinkat(entries.descriptor(), entry.d_name, 0);
  rmdir(dir.c_str());  // failure ignored: what is left is a directory nobody reads
}

bool write_state(const std::string& dir, const VerificationKey& key, time_t created,
                 std::string* why) {
  if (mkdir(dir.c_str(), kSealDirMode) != 0) return fail(dir, why);
  ScopedFd dir_fd(open_directory_at(AT_FDCWD, dir, /*create=*/false, 0));
  if (!dir_fd.valid() || fchmod(dir_fd.get(), kSealDirMode) != 0) return fail(dir, why);
  KeyFileContent content;
  content.created = created;
  content.fingerprint = key_fingerprint(key);
  for (int chain = 0; chain < kSealChains; ++chain) {
    content.chains[chain].key = first_chain_key(key, chain);
  }
  uint8_t bytes[kKeyFileBytes];
  encode_key_file(content, bytes);
  bool written = write_new_file(dir_fd.get(), kSealKeyFile, bytes, sizeof bytes, why);
  erase_secret(bytes, sizeof bytes);
  for (ChainHead& head : content.chains) erase_secret(head.key.data(), head.key.size());
  if (!written) return false;
  for (const SealChain& chain : kSealChainTable) {
    if (!write_new_file(dir_fd.get(), chain.journal, nullptr, 0, why)) return false;
  }
  if (fsync(dir_fd.get()) != 0) return fail(dir, why);
  return true;
}

}  // namespace

bool create_seal_state(const std::string& dir, const VerificationKey& key, time_t created,
                       bool replace, bool* existed, std::string* why) {
  *existed = false;
  if (!make_parents(dir, why)) return false;
  struct stat status;
  if (lstat(dir.c_str(), &status) == 0) {
    *existed = true;
    if (!replace) {
      *why = dir + ": a sealing state exists";
      return false;
    }
  } else if (errno != ENOENT) {
    return fail(dir, why);
  }
  const std::string fresh = dir + ".new";
  remove_state(fresh);  // left by a set-up that was cut short
  if (!write_state(fresh, key, created, why)) {
    remove_state(fresh);
    return false;
  }
  if (!*existed) {
    if (rename(fresh.c_str(), dir.c_str()) == 0) return true;
  } else if (renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, dir.c_str(), RENAME_EXCHANGE) == 0) {
    remove_state(fresh);  // the old state, now beside the new one
    return true;
  }
  fail(dir, why);
  remove_state(fresh);
  return false;
}

}  // namespace sarvik
