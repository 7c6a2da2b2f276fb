// Polling a thread's state under its mutex.
#include "thread_probe.h"

#include <chrono>
#include <thread>

namespace sarvik::testing {

bool eventually(Thread& thread, const std::function<bool()>& done) {
  for (int attempt = 0; attempt < 30000; ++attempt) {
    thread.lock();
    bool held = done();
    thread.unlock();
    if (held) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

}  // namespace sarvik::testing
