// The alert worker: the tallies of hits per rule name, filled by the main thread.
#ifndef SARVIK_ALERT_ALERT_THREAD_H_
#define SARVIK_ALERT_ALERT_THREAD_H_

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "alert/thread.h"
#include "notice/notice_paths.h"
#include "settings/hardening.h"

namespace sarvik {

// The record lines of one rule name not yet mailed.
struct AlertTally {
  // Wall-clock time of the latest hit, or of the latest batch taken from `lines`.
  time_t last_time = 0;
  // Oldest first.
  std::vector<std::string> lines;
};

// The one background worker. The main thread adds hits; the routine, run on the worker's own
// thread, drains the tallies. The server owns the object for the whole run. Its destructor sets
// the exit flag, wakes the routine and joins it before the tallies go, so that no scan ever
// walks a destroyed map; a mail in progress is finished first.
class AlertThread : public Thread {
 public:
  // `routine` is what start() runs with this object; alerts go to the scripts and use the notice
  // settings of `where`. The service passes appliance_notice_paths(); without paths no alert can
  // be delivered, which suits a worker that is never started.
  explicit AlertThread(ThreadRoutine routine, NoticePaths where = {});
  ~AlertThread() override;

  // Queues `line` in the tally of `name`, creating it at the first hit, renews its last_time to
  // the present, and wakes the routine. Main thread. Takes the mutex through lock(), signals
  // while holding it, releases it through unlock(). A failed allocation leaves with the mutex
  // still held; nothing recovers from that.
  void add_hit(const std::string& name, const std::string& line);

  // Replaces the limits of the notice scripts from the next batch on. Main thread, after each
  // load of the settings; takes the mutex through lock() and unlock().
  void set_notice_limits(const NoticeLimits& limits);
  // A copy of those limits. Alert thread, once per batch and without the mutex held: takes it.
  NoticeLimits notice_limits();

  // By rule name. An entry is created by the first hit of its name and never removed, so
  // iterators stay valid while the mutex is released. Guarded by the Thread mutex.
  std::map<std::string, AlertTally> tallies;

  // Set at construction and never changed, so any thread may read it without the mutex.
  const NoticePaths notice_paths;

 private:
  // Only copies cross between the threads. Guarded by the Thread mutex.
  NoticeLimits limits;
};

}  // namespace sarvik

#endif  // SARVIK_ALERT_ALERT_THREAD_H_
