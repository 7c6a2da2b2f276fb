// The clock of the alert worker: whole seconds of the realtime clock, read precisely.
#include "alert/wall_clock.h"

namespace sarvik {

time_t wall_clock_seconds() {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);  // cannot fail: the clock exists, the pointer is valid
  return now.tv_sec;
}

}  // namespace sarvik
