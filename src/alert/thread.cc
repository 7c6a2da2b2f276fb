// The thread base: start, the mutex, the condition and the join.
#include "alert/thread.h"

#include <ctime>

#include "alert/wall_clock.h"

namespace sarvik {

Thread::Thread(ThreadRoutine routine) : routine(routine) {}

int Thread::wait(long seconds) {
  if (seconds == 0) return pthread_cond_wait(&cond, &mutex);
  struct timespec deadline;
  deadline.tv_sec = wall_clock_seconds() + seconds;
  deadline.tv_nsec = 0;
  return pthread_cond_timedwait(&cond, &mutex, &deadline);
}

Thread::~Thread() { stop_and_join(); }

void Thread::stop_and_join() {
  // Results ignored: the destructors that call this have no one to report to.
  pthread_mutex_lock(&mutex);
  exit_requested = true;
  pthread_mutex_unlock(&mutex);
  pthread_cond_signal(&cond);
  if (!started) return;
  pthread_join(handle, nullptr);
  started = false;
}

int Thread::start() {
  int result = pthread_create(&handle, nullptr, routine, this);
  started = result == 0;
  return result;
}

int Thread::lock() { return pthread_mutex_lock(&mutex); }

int Thread::unlock() { return pthread_mutex_unlock(&mutex); }

int Thread::signal() { return pthread_cond_signal(&cond); }

int Thread::request_exit() {
  lock();  // result not looked at: a default mutex locked by its owner thread cannot fail here
  exit_requested = true;
  return unlock();
}

}  // namespace sarvik
