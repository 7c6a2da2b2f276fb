// The alert thread's routine: when a tally is due, and how a batch is taken from it.
#ifndef SARVIK_ALERT_ALERT_LOOP_H_
#define SARVIK_ALERT_ALERT_LOOP_H_

#include <cstddef>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "alert/alert_thread.h"

namespace sarvik {

// The longest sleep of the routine between two scans; a hit wakes it sooner.
inline constexpr long kWaitSeconds = 60;
// A tally is due once this long has passed since its last hit (or its last batch)...
inline constexpr time_t kQuietSeconds = 60;
// ...or once this many lines wait; a batch holds at most this many.
inline constexpr size_t kBatchLimit = 1024;

// Raises the alert of one batch; handle_alert in the service.
using AlertHandler =
    std::function<void(const std::string& name, const std::vector<std::string>& lines)>;

// The routine of the alert worker; `self` is the AlertThread. Sleeps up to kWaitSeconds at a
// time, and after each wake-up, signal or time-out alike, either leaves (exit requested: pending
// lines are not sent) or scans the tallies with handle_alert and wall_clock_seconds, the clock
// of the wait's deadline and of the hits: a single hit is thus due at the time-out of the wait
// that follows its own wake-up, about kQuietSeconds after it came. Returns null, only by exit
// request. Prints its progress on standard output.
void* alert_thread(void* self);

// One scan over the tallies in key order. Called on the alert thread with the worker's mutex
// held, and returns with it held. Prints "check" and the name of every tally; from each due one
// it takes the oldest kBatchLimit lines at most, renews its last_time, and calls `handle` with a
// copy of the name and the batch with the mutex released, so that hits go on meanwhile. `now` is
// read at each test and renewal, since `handle` may take long.
void scan_tallies(AlertThread& worker, const std::function<time_t()>& now,
                  const AlertHandler& handle);

}  // namespace sarvik

#endif  // SARVIK_ALERT_ALERT_LOOP_H_
