// The alert worker: construction and the queueing of hits.
#include "alert/alert_thread.h"

namespace sarvik {

AlertThread::AlertThread(ThreadRoutine routine) : Thread(routine) {}

AlertThread::~AlertThread() = default;

void AlertThread::add_hit(const std::string& name, const std::string& line) {
  lock();
  auto it = tallies.find(name);
  if (it == tallies.end()) {
    AlertTally tally;
    tally.last_time = time(nullptr);
    it = tallies.emplace(name, tally).first;
  }
  it->second.lines.push_back(line);
  it->second.last_time = time(nullptr);
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
