// A test routine for Thread and its derived classes, and what it saw.
#ifndef SARVIK_TESTS_UNIT_ALERT_THREAD_PROBE_H_
#define SARVIK_TESTS_UNIT_ALERT_THREAD_PROBE_H_

#include <functional>
#include <string>
#include <vector>

#include "alert/thread.h"

namespace sarvik::testing {

// What the probe routine saw. Owned by the test and declared before the thread object, so that
// it outlives the thread. Every field is guarded by the mutex of the thread that runs with it,
// or read after that thread was joined.
struct ThreadProbe {
  long seconds = 0;          // what the routine passes to wait()
  bool waiting = false;      // true while the routine is inside wait()
  std::vector<int> results;  // the result of each wait, in order
  bool exited = false;       // the routine saw exit_requested and returned
  // Called with the mutex held after each wait that did not end the routine.
  std::function<void()> on_wake;
};

template <typename Base>
void* probe_routine(void* self);

// `Base` (Thread or a class derived from it, constructible from a routine) running
// probe_routine, which records into `probe`.
template <typename Base>
class Probed : public Base {
 public:
  explicit Probed(ThreadProbe* probe) : Base(&probe_routine<Base>), probe(probe) {}
  ThreadProbe* const probe;
};

// Locks, then waits again and again until exit is requested, recording each result. It reads
// `probe` once at its start: later the derived part of the object may already be destroyed.
template <typename Base>
void* probe_routine(void* self) {
  auto* thread = static_cast<Thread*>(self);
  ThreadProbe* probe = static_cast<Probed<Base>*>(thread)->probe;
  thread->lock();
  for (;;) {
    probe->waiting = true;
    probe->results.push_back(thread->wait(probe->seconds));
    probe->waiting = false;
    if (thread->exit_requested) break;
    if (probe->on_wake) probe->on_wake();
  }
  probe->exited = true;
  thread->unlock();
  return nullptr;
}

// `Base` (Thread or a class derived from it, constructible from a routine) that records the
// calls of its overridable lock, unlock and signal by name into a list that outlives it.
template <typename Base>
class Recording : public Base {
 public:
  Recording(ThreadRoutine routine, std::vector<std::string>* calls) : Base(routine), calls(calls) {}
  int lock() override { return record("lock", Base::lock()); }
  int unlock() override { return record("unlock", Base::unlock()); }
  int signal() override { return record("signal", Base::signal()); }

 private:
  int record(const char* call, int result) {
    calls->push_back(call);
    return result;
  }
  std::vector<std::string>* const calls;
};

// Tests `done` under the thread's mutex every millisecond until it holds, for at most 30
// seconds. Returns whether it held.
bool eventually(Thread& thread, const std::function<bool()>& done);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_UNIT_ALERT_THREAD_PROBE_H_
