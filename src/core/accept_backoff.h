// The pause after failed accepts, so that a socket path that cannot be bound does not spin.
#ifndef SARVIK_CORE_ACCEPT_BACKOFF_H_
#define SARVIK_CORE_ACCEPT_BACKOFF_H_

#include <chrono>

namespace sarvik {

// The pause before the next accept after one that failed: kFirstPause after the first failure,
// doubling with each further one in a row up to kLongestPause; a success starts again from the
// beginning. Used by the server loop alone (main thread).
class AcceptBackoff {
 public:
  static constexpr std::chrono::milliseconds kFirstPause{4};
  // Short enough that clients are served well within a second once the path is free again.
  static constexpr std::chrono::milliseconds kLongestPause{512};

  // The pause owed for the failure just seen; the next one is twice as long, up to the limit.
  std::chrono::milliseconds next_pause();
  // After a successful accept: the next failure pauses kFirstPause again.
  void reset() { pause = kFirstPause; }
  // Sleeps for next_pause().
  void wait_after_failure();

 private:
  std::chrono::milliseconds pause = kFirstPause;
};

}  // namespace sarvik

#endif  // SARVIK_CORE_ACCEPT_BACKOFF_H_
