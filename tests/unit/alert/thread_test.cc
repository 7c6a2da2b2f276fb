// The thread base: untimed and timed waits, the exit request, the destructor, overrides.
#include "alert/thread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <thread>

#include "thread_probe.h"

namespace sarvik {
namespace {

using testing::eventually;
using testing::Probed;
using testing::ThreadProbe;
using ProbedThread = Probed<Thread>;

// Starts a probe thread waiting `seconds` at a time and returns once it is inside its first wait.
std::unique_ptr<ProbedThread> start_waiting(ThreadProbe& probe, long seconds) {
  probe.seconds = seconds;
  auto thread = std::make_unique<ProbedThread>(&probe);
  EXPECT_EQ(thread->start(), 0);
  EXPECT_TRUE(eventually(*thread, [&] { return probe.waiting; }));
  return thread;
}

TEST(ThreadWait, UntimedWaitReturnsOnlyOnASignal) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 0);
  // A timed wait of any length would have ended within this pause.
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  thread->lock();
  EXPECT_TRUE(probe.results.empty());
  EXPECT_EQ(thread->signal(), 0);
  thread->unlock();
  ASSERT_TRUE(eventually(*thread, [&] { return probe.results.size() == 1; }));
  thread->lock();
  EXPECT_EQ(probe.results[0], 0);
  EXPECT_TRUE(probe.waiting);  // back in its next wait, not ended
  thread->unlock();
}

TEST(ThreadWait, ASignalEndsATimedWaitEarly) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 60);
  thread->lock();
  thread->signal();
  thread->unlock();
  ASSERT_TRUE(eventually(*thread, [&] { return !probe.results.empty(); }));
  thread->lock();
  EXPECT_EQ(probe.results[0], 0);
  thread->unlock();
}

// The current time of the realtime clock, between half and three quarters into a second, so
// that the next whole second lies well ahead.
timespec now_in_second_half() {
  timespec now;
  for (;;) {
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_nsec >= 500000000 && now.tv_nsec < 750000000) return now;
    long to_half = (1500000000 - now.tv_nsec) % 1000000000;
    std::this_thread::sleep_for(std::chrono::nanoseconds(to_half));
  }
}

// Waits `seconds` with nobody signalling, starting in the second half of a second. The wait
// must time out at the whole second `seconds` later: not before it, and so less than `seconds`
// after it began.
void expect_ends_on_whole_second(long seconds) {
  ThreadProbe probe;
  ProbedThread thread(&probe);
  thread.lock();
  timespec begin = now_in_second_half();
  int result = thread.wait(seconds);
  timespec end;
  clock_gettime(CLOCK_REALTIME, &end);
  thread.unlock();
  EXPECT_EQ(result, ETIMEDOUT);
  EXPECT_GE(end.tv_sec, begin.tv_sec + seconds);
  EXPECT_TRUE(end.tv_sec < begin.tv_sec + seconds ||
              (end.tv_sec == begin.tv_sec + seconds && end.tv_nsec < begin.tv_nsec))
      << "the wait ran past time(nullptr) + " << seconds;
}

TEST(ThreadWait, OneSecondWaitEndsAtTheNextWholeSecond) { expect_ends_on_whole_second(1); }

TEST(ThreadWait, TwoSecondWaitEndsAtTheSecondWholeSecondAfter) { expect_ends_on_whole_second(2); }

TEST(ThreadExit, RequestTakesEffectWhenTheWaitTimesOut) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 2);
  EXPECT_EQ(thread->request_exit(), 0);
  thread->lock();
  EXPECT_TRUE(thread->exit_requested);
  thread->unlock();
  ASSERT_TRUE(eventually(*thread, [&] { return probe.exited; }));
  thread->lock();
  // Not woken by the request: the wait that saw it ended by its time limit.
  EXPECT_EQ(probe.results.back(), ETIMEDOUT);
  thread->unlock();
}

TEST(ThreadExit, DestructorWakesTheWaitingRoutineAtOnceAndJoins) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 2);
  thread.reset();
  // Joined: the routine has returned, and the wait that ended it was signalled.
  EXPECT_TRUE(probe.exited);
  ASSERT_FALSE(probe.results.empty());
  EXPECT_EQ(probe.results.back(), 0);
}

TEST(ThreadExit, NeverStartedThreadIsDestroyedWithoutAJoin) {
  // The handle of a thread that never started holds whatever its storage held; a join on it
  // would fail or crash. Storage filled with ones makes that visible.
  alignas(ProbedThread) unsigned char storage[sizeof(ProbedThread)];
  memset(storage, 0xFF, sizeof storage);
  asm volatile("" : : "r"(storage) : "memory");  // keeps the fill ahead of the construction
  ThreadProbe probe;
  auto* thread = new (storage) ProbedThread(&probe);
  thread->request_exit();
  thread->~ProbedThread();
  EXPECT_FALSE(probe.exited);
}

// Counts its lock() calls into a counter that outlives it.
class LockCountingThread : public Thread {
 public:
  explicit LockCountingThread(int* locks) : Thread(nullptr), locks(locks) {}
  int lock() override {
    ++*locks;
    return Thread::lock();
  }

 private:
  int* const locks;
};

TEST(ThreadExit, RequestGoesThroughAnOverriddenLockAndTheDestructorDoesNot) {
  int locks = 0;
  {
    LockCountingThread thread(&locks);
    thread.request_exit();
    EXPECT_EQ(locks, 1);
    EXPECT_TRUE(thread.exit_requested);
  }
  EXPECT_EQ(locks, 1);
}

}  // namespace
}  // namespace sarvik
