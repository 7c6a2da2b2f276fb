// Standard output of the test process caught in a memory file, for the alert thread's messages.
#include "stdout_capture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "testing/text_count.h"

namespace sarvik::testing {

StdoutCapture::StdoutCapture() {
  fflush(stdout);
  file = memfd_create("stdout", MFD_CLOEXEC);
  saved = dup(1);
  if (file < 0 || saved < 0 || dup2(file, 1) < 0) throw std::runtime_error("StdoutCapture");
}

StdoutCapture::~StdoutCapture() {
  fflush(stdout);
  dup2(saved, 1);  // result ignored: nothing better is left to do in a destructor
  close(saved);
  close(file);
}

std::string StdoutCapture::text() const {
  fflush(stdout);
  return written();
}

std::string StdoutCapture::written() const {
  std::string all;
  char buffer[4096];
  for (off_t at = 0;;) {
    ssize_t got = pread(file, buffer, sizeof(buffer), at);
    if (got <= 0) break;
    all.append(buffer, got);
    at += got;
  }
  return all;
}

bool StdoutCapture::wait_for(const std::string& part, int count,
                             const std::function<void()>& between) const {
  for (int round = 0; round < 30000; ++round) {
    if (between) between();
    if (count_of(text(), part) >= count) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

}  // namespace sarvik::testing
