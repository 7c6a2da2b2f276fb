// How much of a volume is free, the gate of the expiry pass.
#include "logstore/free_space.h"

#include <sys/statfs.h>

namespace sarvik {

uint64_t volume_free_percent(const std::string& path) {
  struct statfs volume;
  if (statfs(path.c_str(), &volume) != 0) return 100;
  return volume_free_percent_of(volume.f_bfree, volume.f_blocks);
}

uint64_t volume_free_percent_of(uint64_t free_blocks, uint64_t blocks) {
  if (blocks == 0) return 100;
  return free_blocks * 100 / blocks;
}

}  // namespace sarvik
