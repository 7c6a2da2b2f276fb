// Watches the write() calls of the test process, which still reach the kernel unchanged.
#ifndef SARVIK_TESTS_UNIT_SUPPORT_WRITE_PROBE_H_
#define SARVIK_TESTS_UNIT_SUPPORT_WRITE_PROBE_H_

#include <sys/types.h>

#include <vector>

namespace sarvik::testing {

// One write() call: its descriptor and the count it asked for.
struct WriteCall {
  int fd;
  size_t count;
};

// While an object lives, the process's write() calls are recorded (the first 256 of them). This
// binary defines write() itself, so that also the calls of the code under test pass through it.
// One probe at a time, on the test's thread.
class WriteProbe {
 public:
  WriteProbe();
  ~WriteProbe();
  WriteProbe(const WriteProbe&) = delete;
  WriteProbe& operator=(const WriteProbe&) = delete;

  std::vector<WriteCall> calls() const;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_UNIT_SUPPORT_WRITE_PROBE_H_
