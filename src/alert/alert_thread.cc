// The alert worker: construction and the queueing of hits.
#include "alert/alert_thread.h"

#include <utility>

#include "alert/wall_clock.h"

namespace sarvik {

AlertThread::AlertThread(ThreadRoutine routine, NoticePaths where)
    : Thread(routine), notice_paths(std::move(where)) {}

// The routine scans the tallies, also with the mutex released while it mails; it must have
// returned before they are destroyed, which happens after this body.
AlertThread::~AlertThread() { stop_and_join(); }

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

void AlertThread::set_notice_limits(const NoticeLimits& new_limits) {
  lock();
  limits = new_limits;
  unlock();
}

NoticeLimits AlertThread::notice_limits() {
  lock();
  NoticeLimits copy = limits;
  unlock();
  return copy;
}

}  // namespace sarvik
