// A limit on the size of the files the test process writes, to make writes fail as on a full
// volume without one.
#ifndef SARVIK_TESTING_FILE_SIZE_LIMIT_H_
#define SARVIK_TESTING_FILE_SIZE_LIMIT_H_

#include <signal.h>
#include <sys/resource.h>

namespace sarvik::testing {

// The process may write no file beyond `bytes` while the object lives; a write past it fails
// with EFBIG instead of raising SIGXFSZ, as a write to a full volume fails with ENOSPC.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit saved{};
  sighandler_t old_handler;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_FILE_SIZE_LIMIT_H_
