// What the appliance itself reports: the small system log of the corpus.
#ifndef SARVIK_BENCH_LOG_SYSTEM_EVENTS_H_
#define SARVIK_BENCH_LOG_SYSTEM_EVENTS_H_

#include <time.h>

#include "random.h"
#include "tree_writer.h"

namespace sarvik::corpus {

// Writes a dozen or so system records a day over [start, end) in the order they arrive: the
// nightly backup, disks, the power supply, logins, quotas. Each carries its client's time, which
// mostly is the time of arrival but sometimes lags by seconds, hours or, for a client that kept
// records back, weeks, so that the log's times are not in order and a record may land in the
// directory of a past month. Returns the number of lines.
uint64_t write_system_log(time_t start, time_t end, Random& random, TreeWriter* writer);

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_SYSTEM_EVENTS_H_
