// The alert worker: construction and the queueing of hits.
#include "alert/alert_thread.h"

#include "alert/wall_clock.h"

namespace sarvik {

AlertThread::AlertThread(ThreadRoutine routine) : Thread(routine) {}

AlertThread::~AlertThread() = default;

void AlertThread::add_hit(const std::string& name, const std::string& line) {
  lock();
  auto it = tallies.find(name);
  if (it == tallies.end()) {
    AlertTally tally;
    tally.last_time = wall_clock_seconds();
    it = tallies.emplace(name, tally).first;
  }
  it->second.lines.push_back(line);
  it->second.last_time = wall_clock_seconds();
  signal();
  unlock();
}

}  // namespace sarvik
