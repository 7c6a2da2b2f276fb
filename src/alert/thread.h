// One POSIX thread with one mutex and one condition, for a worker woken by others.
#ifndef SARVIK_ALERT_THREAD_H_
#define SARVIK_ALERT_THREAD_H_

#include <pthread.h>

namespace sarvik {

// The function a thread runs; it gets the Thread object as its argument.
using ThreadRoutine = void* (*)(void*);

// Base of a worker thread. The routine is a plain function given the object (as a Thread*
// converted to void*); it is expected to sleep in wait() with the mutex held, to test
// exit_requested after each wait, and to return after unlocking once it is set. The object must
// outlive the thread, which its destructor ensures by joining. lock, unlock, signal and
// request_exit may be called from any thread; start and the destructor by the owner. Operations
// return the results of their POSIX calls.
class Thread {
 public:
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Waits on the condition; the caller holds the mutex. 0 waits untimed; otherwise until the
  // whole second wall_clock_seconds() + seconds of the realtime clock, so up to a second shorter
  // than asked. Does not loop: a signal, a spurious wake-up and the time-out all return.
  virtual int wait(long seconds);
  // Ends the thread as stop_and_join() does, unless a derived destructor did so already.
  // Destroys neither mutex nor condition.
  virtual ~Thread();
  // Creates the thread with default attributes, running the routine with this object.
  virtual int start();
  virtual int lock();
  virtual int unlock();
  // Wakes one waiter; valid with or without the mutex held.
  virtual int signal();
  // Sets exit_requested under the mutex, through lock() and unlock(). Does not signal: a waiting
  // routine sees the request when its wait ends.
  virtual int request_exit();

  // Set once, never cleared. Guarded by `mutex`.
  bool exit_requested = false;

 protected:
  explicit Thread(ThreadRoutine routine);

  // Locks, sets exit_requested, unlocks and signals by the POSIX calls themselves (not through
  // the overridable operations), then joins a started thread; later calls find nothing to join.
  // A derived class whose members the routine uses calls it first in its destructor, so that
  // those members outlive the routine. Owner's thread.
  void stop_and_join();

 private:
  // Written by a successful start() only; before that it holds no value and is never read.
  pthread_t handle;
  ThreadRoutine routine;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t cond = PTHREAD_COND_INITIALIZER;
  // Set by a successful start(), cleared by the join. A worker can be destroyed without ever
  // being started (when the first settings load fails) and then there is no thread to join.
  // Owner's thread only.
  bool started = false;
};

}  // namespace sarvik

#endif  // SARVIK_ALERT_THREAD_H_
