// Watches the write() calls of the test process.
#include "write_probe.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace sarvik::testing {
namespace {

constexpr int kMaxCalls = 256;
bool armed = false;
int recorded = 0;
WriteCall calls_seen[kMaxCalls];

}  // namespace

WriteProbe::WriteProbe() {
  recorded = 0;
  armed = true;
}

WriteProbe::~WriteProbe() { armed = false; }

std::vector<WriteCall> WriteProbe::calls() const {
  return std::vector<WriteCall>(calls_seen, calls_seen + recorded);
}

}  // namespace sarvik::testing

// Takes the place of the C library's write() for the whole test binary: records the call while a
// probe is armed (no allocation here) and makes the system call itself.
extern "C" ssize_t write(int fd, const void* buf, size_t count) {
  using sarvik::testing::armed;
  using sarvik::testing::calls_seen;
  using sarvik::testing::kMaxCalls;
  using sarvik::testing::recorded;
  if (armed && recorded < kMaxCalls) calls_seen[recorded++] = {fd, count};
  return syscall(SYS_write, fd, buf, count);
}
