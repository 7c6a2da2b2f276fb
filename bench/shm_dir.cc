// A scratch directory of the benchmarks on the RAM-backed /dev/shm.
#include "shm_dir.h"

#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

namespace sarvik {

ShmDir::ShmDir() {
  char templ[] = "/dev/shm/sarvik-bench.XXXXXX";
  if (mkdtemp(templ) != nullptr) root = templ;
}

ShmDir::~ShmDir() {
  auto remove_one = [](const char* p, const struct stat*, int, struct FTW*) { return remove(p); };
  if (!root.empty()) nftw(root.c_str(), remove_one, 16, FTW_DEPTH | FTW_PHYS);
}

}  // namespace sarvik
