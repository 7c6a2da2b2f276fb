// The alert thread's routine: when a tally is due, and how a batch is taken from it.
#include "alert/alert_loop.h"

#include <algorithm>
#include <iostream>

#include "alert/handle_alert.h"
#include "alert/wall_clock.h"

namespace sarvik {

void* alert_thread(void* self) {
  auto* worker = static_cast<AlertThread*>(static_cast<Thread*>(self));
  // The results of lock, wait and unlock are not looked at: a default mutex used by its owner
  // does not fail, and every return of the wait, signal or time-out, goes on alike.
  for (;;) {
    std::cout << "alert_thread: waiting.\n";
    worker->lock();
    worker->wait(kWaitSeconds);
    std::cout << "alert_thread: wake up.\n";
    if (worker->exit_requested) {
      std::cout << "alert_thread: exit by request.\n";
      worker->unlock();
      return nullptr;
    }
    // The notice limits are taken anew for each batch, so a reload reaches the next one.
    scan_tallies(*worker, wall_clock_seconds,
                 [worker](const std::string& name, const std::vector<std::string>& lines) {
                   handle_alert(name, lines, worker->notice_limits(), worker->notice_paths);
                 });
    worker->unlock();
  }
}

void scan_tallies(AlertThread& worker, const std::function<time_t()>& now,
                  const AlertHandler& handle) {
  // Entries are never removed and map nodes do not move when the main thread adds one, so the
  // iterator stays valid while the mutex is released below.
  for (auto& [key, tally] : worker.tallies) {
    std::cout << "alert_thread: check " << key << std::endl;
    if (tally.lines.empty()) continue;
    if (now() - tally.last_time < kQuietSeconds && tally.lines.size() < kBatchLimit) continue;
    std::cout << "alert_thread: try send mail\n";
    const std::string name = key;
    const auto batch_end = tally.lines.begin() + std::min(tally.lines.size(), kBatchLimit);
    const std::vector<std::string> batch(tally.lines.begin(), batch_end);
    tally.lines.erase(tally.lines.begin(), batch_end);  // the rest moves to the front, in order
    tally.last_time = now();
    // The mail runs without the lock: a slow script must not hold up the requests' hits.
    worker.unlock();
    handle(name, batch);
    worker.lock();
  }
}

}  // namespace sarvik
