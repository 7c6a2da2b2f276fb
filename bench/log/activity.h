// When the office works: the moments of the corpus's access lines, in time order.
#ifndef SARVIK_BENCH_LOG_ACTIVITY_H_
#define SARVIK_BENCH_LOG_ACTIVITY_H_

#include <time.h>

#include <cstdint>
#include <vector>

#include "random.h"

namespace sarvik::corpus {

// What causes a line: people at work, the nightly backup, or one person's burst (a folder
// copied or cleared in a few minutes).
enum class Driver { kOffice, kBackup, kBurst };

struct Moment {
  time_t when;
  Driver driver;
  uint32_t burst;  // with kBurst: which one, counted from 0 in time order
};

// Spreads exactly `lines` moments over the whole minutes of [start, end): many on working days
// and hours, few at night and at weekends, a backup window each night, holidays and busier and
// quieter days, and short bursts. Times never decrease. One object per corpus, one thread.
class Activity {
 public:
  Activity(time_t start, time_t end, uint64_t lines, Random& random);

  // The next moment; false after the last.
  bool next(Moment* moment);
  uint32_t burst_count() const { return bursts; }

 private:
  struct Minute {
    float office;
    float backup;
    float burst;
    int32_t burst_id;  // -1 outside a burst
  };
  void start_minute();

  Random& random;
  time_t first_minute;
  std::vector<Minute> minutes;
  uint64_t lines;
  double scale;       // lines per unit of weight
  double owed = 0;    // lines due up to the end of the current minute
  uint64_t made = 0;  // lines handed out so far
  size_t minute = 0;  // the current minute
  uint32_t in_minute = 0;
  uint32_t of_minute = 0;
  uint32_t bursts = 0;
};

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_ACTIVITY_H_
