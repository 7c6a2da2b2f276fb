// A limit on the size of the files the test process writes.
#include "testing/file_size_limit.h"

namespace sarvik::testing {

FileSizeLimit::FileSizeLimit(rlim_t bytes) {
  getrlimit(RLIMIT_FSIZE, &saved);
  old_handler = signal(SIGXFSZ, SIG_IGN);
  rlimit limited = saved;
  limited.rlim_cur = bytes;
  setrlimit(RLIMIT_FSIZE, &limited);
}

FileSizeLimit::~FileSizeLimit() {
  setrlimit(RLIMIT_FSIZE, &saved);
  signal(SIGXFSZ, old_handler);
}

}  // namespace sarvik::testing
