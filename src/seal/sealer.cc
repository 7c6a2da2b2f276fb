// The service's sealing of its lines: the open sealing state and a sealer for each log.
#include "seal/sealer.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "logstore/path.h"
#include "logstore/safe_open.h"
#include "seal/seal_crypto.h"
#include "seal/seal_paths.h"
#include "seal/seal_state.h"

namespace sarvik {

Sealer::Sealer(std::string state_dir, std::ostream& errors, std::ostream& progress)
    : state_dir(std::move(state_dir)), errors(errors), progress(progress) {}

Sealer::~Sealer() { close_state(); }

void Sealer::apply(bool enabled) {
  if (!enabled) {
    close_state();
    return;
  }
  if (sealing() && state_in_place()) return;
  close_state();
  std::string why;
  if (open_state(&why) || told_why_unsealed) return;
  told_why_unsealed = true;
  if (why.empty()) {
    errors << "Error: sealing is on, but there is no sealing key in " << state_dir
           << ": lines are written unsealed (sarvik-log --setup-keys makes one)" << std::endl;
  } else {
    errors << "Error: sealing is on, but the sealing state cannot be used: " << why
           << ": lines are written unsealed" << std::endl;
  }
}

LineSealer* Sealer::for_log(const LogKind& kind) {
  int chain = seal_chain_of(kind);
  return chain < 0 ? nullptr : chains[chain].get();
}

bool Sealer::state_in_place() const {
  struct stat status;
  return lstat(join_path(state_dir, kSealKeyFile).c_str(), &status) == 0 &&
         status.st_dev == key_device && status.st_ino == key_inode;
}

// Leaves `why` empty when there is no state or no key file in it.
bool Sealer::open_state(std::string* why) {
  if (!seal_crypto_ready()) {
    *why = "the cryptographic library cannot be used";
    return false;
  }
  std::string reason;
  ScopedFd dir(open_seal_dir(state_dir, SealAccess::kWrite, &reason));
  struct stat status;
  ScopedFd key(dir.valid() ? open_seal_file(dir.get(), kSealKeyFile, SealAccess::kWrite,
                                            /*create=*/false, &status, &reason)
                           : -1);
  if (!key.valid()) {
    if (errno != ENOENT) *why = dir.valid() ? join_path(state_dir, reason) : reason;
    return false;
  }
  const std::string key_path = join_path(state_dir, kSealKeyFile);
  if (status.st_size != static_cast<off_t>(kKeyFileBytes)) {
    *why = key_path + ": not a sealing key file";
    return false;
  }
  void* mapped = mmap(nullptr, kKeyFileBytes, PROT_READ | PROT_WRITE, MAP_SHARED, key.get(), 0);
  if (mapped == MAP_FAILED) {
    *why = key_path + ": " + strerror(errno);
    return false;
  }
  auto* bytes = static_cast<uint8_t*>(mapped);
  KeyFileContent content;
  if (!parse_key_file(bytes, kKeyFileBytes, &content, &reason)) {
    munmap(mapped, kKeyFileBytes);
    *why = key_path + ": " + reason;
    return false;
  }
  int journals[kSealChains];
  struct stat journal_status[kSealChains];
  for (int chain = 0; chain < kSealChains; ++chain) {
    journals[chain] = open_seal_file(dir.get(), kSealChainTable[chain].journal, SealAccess::kWrite,
                                     /*create=*/true, &journal_status[chain], &reason);
    if (journals[chain] >= 0) continue;
    while (chain-- > 0) close(journals[chain]);
    for (ChainHead& head : content.chains) erase_secret(head.key.data(), head.key.size());
    munmap(mapped, kKeyFileBytes);
    *why = join_path(state_dir, reason);
    return false;
  }
  for (int chain = 0; chain < kSealChains; ++chain) {
    ChainHead& head = content.chains[chain];
    const auto size = static_cast<uint64_t>(journal_status[chain].st_size);
    if (size > head.journal_bytes) {
      // Records written before the service stopped and not yet in the head: they go, and the
      // chain goes on from the head.
      if (ftruncate(journals[chain], static_cast<off_t>(head.journal_bytes)) != 0) {
        // Failure ignored: they are overwritten by the next records.
      }
    } else if (size < head.journal_bytes) {
      // The journal lost records (a crash of the machine, or another hand): the chain goes on
      // behind what is there, and the gap shows to the verifier.
      head.journal_bytes = size - size % kSlotBytes;
      head.run_open = false;
    }
    chains[chain] = std::make_unique<ChainSealer>(
        chain, journals[chain], join_path(state_dir, kSealChainTable[chain].journal), bytes, head,
        errors, progress);
    encode_chain_head(head, chain, bytes);
    erase_secret(head.key.data(), head.key.size());
  }
  key_file = bytes;
  key_fd = key.release();
  key_device = status.st_dev;
  key_inode = status.st_ino;
  return true;
}

void Sealer::close_state() {
  for (std::unique_ptr<ChainSealer>& chain : chains) chain.reset();
  if (key_file != nullptr) munmap(key_file, kKeyFileBytes);
  key_file = nullptr;
  if (key_fd >= 0) close(key_fd);
  key_fd = -1;
}

}  // namespace sarvik
