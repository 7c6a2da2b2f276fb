// The clock of the alert worker: whole seconds of the realtime clock, read precisely.
#ifndef SARVIK_ALERT_WALL_CLOCK_H_
#define SARVIK_ALERT_WALL_CLOCK_H_

#include <ctime>

namespace sarvik {

// Seconds since the epoch from the precise realtime clock. time() reads a coarse copy of that
// clock which the kernel renews only at its tick, so right after a wait that ended on a whole
// second it can still give the second before. The wait's deadline, the time of a hit and the
// quiet-time test all read this clock instead, so that the scan after a wait that ran to its
// deadline sees at least the deadline's second. Any thread.
time_t wall_clock_seconds();

}  // namespace sarvik

#endif  // SARVIK_ALERT_WALL_CLOCK_H_
