// A scratch directory of the benchmarks on the RAM-backed /dev/shm.
#ifndef SARVIK_BENCH_SHM_DIR_H_
#define SARVIK_BENCH_SHM_DIR_H_

#include <string>

namespace sarvik {

// A fresh directory on /dev/shm, removed with its contents when the object goes. Not copyable.
class ShmDir {
 public:
  ShmDir();
  ~ShmDir();
  ShmDir(const ShmDir&) = delete;
  ShmDir& operator=(const ShmDir&) = delete;

  // Empty when it could not be made.
  const std::string& path() const { return root; }

 private:
  std::string root;
};

}  // namespace sarvik

#endif  // SARVIK_BENCH_SHM_DIR_H_
