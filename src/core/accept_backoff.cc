// The pause after failed accepts.
#include "core/accept_backoff.h"

#include <algorithm>
#include <thread>

namespace sarvik {

std::chrono::milliseconds AcceptBackoff::next_pause() {
  const std::chrono::milliseconds owed = pause;
  pause = std::min(pause * 2, kLongestPause);
  return owed;
}

void AcceptBackoff::wait_after_failure() { std::this_thread::sleep_for(next_pause()); }

}  // namespace sarvik
